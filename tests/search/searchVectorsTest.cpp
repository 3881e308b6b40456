// Searches to a fixed depth compared with those of an independent implementation, where its figures and
// network are available: every reported line to the last node, and the answers.
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "eval/networkFile.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"
#include "support/randomGames.h"
#include "support/sharedData.h"
#include "uci/consoleOutput.h"

namespace tarvonel
{
namespace
{

struct searchVector
{
    std::string position; ///< what follows the word "position"
    std::vector<std::string> lines;
};

std::vector<searchVector> readVectors(const std::string &name)
{
    std::vector<searchVector> vectors;
    std::ifstream file(sharedDataPath("vectors/" + name));
    for (std::string line; std::getline(file, line);)
    {
        while (!line.empty() && (line.back() == ' ' || line.back() == '\r'))
            line.pop_back();
        if (line.starts_with("fen "))
            vectors.push_back({line, {}});
        else if (line.starts_with("position "))
            vectors.push_back({line.substr(line.find(' ') + 1), {}});
        else if (!line.empty() && !vectors.empty())
            vectors.back().lines.push_back(line);
    }
    return vectors;
}

class slowReferenceSearches : public searchFixture
{
  protected:
    /// One thread, a table of 256 MiB, the reference network.
    void SetUp() override
    {
        searchFixture::SetUp();
        if (vectorNetwork().empty())
            GTEST_SKIP() << "no reference network";
        ASSERT_TRUE(loadNetFile(vectorNetwork()));
        ttResize(256);
    }
    void TearDown() override
    {
        ttResize(1);
        searchFixture::TearDown();
    }

    static void compare(const std::string &name, int depth, bool isOneGame)
    {
        const std::vector<searchVector> vectors = readVectors(name);
        if (vectors.empty())
            GTEST_SKIP() << "no figures";
        for (const searchVector &reference : vectors)
        {
            if (!isOneGame)
                newGame();
            ASSERT_EQ(outputOf(positionCommand, reference.position), "");
            ASSERT_EQ(run(mainPos, {.depthLimit = depth}).lines, reference.lines) << reference.position;
        }
    }
};

TEST_F(slowReferenceSearches, freshPositions) { compare("search-depth11.txt", 11, false); }

TEST_F(slowReferenceSearches, freshPositionsOfChess960)
{
    const variantScope variant(true);
    compare("search960-depth11.txt", 11, false);
}

TEST_F(slowReferenceSearches, oneGameWithAllThatLastsBetweenSearches) { compare("game-depth10.txt", 10, true); }

} // namespace
} // namespace tarvonel
