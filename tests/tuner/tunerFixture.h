// Fixture of the tests of the tuner: a network, an empty list of positions, the shipped terms and K, and
// the tuner's output.
#pragma once

#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/pos.h"
#include "board/setup.h"
#include "eval/evalTerms.h"
#include "movegen/gameRules.h"
#include "support/syntheticNetwork.h"
#include "tuner/tunerOutput.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

/// A data file of quiet positions from random games: about half are taken, and a tenth measures the
/// hand-set terms, because one side is far ahead late in most random games.
inline std::string randomFileText(int lineCount)
{
    constexpr int firstPly = 8, pliesBetween = 5, lastPly = 120;
    const auto board = std::make_unique<posWithMoves>();
    std::mt19937_64 random(1);
    std::string text;
    for (int ply = lastPly; lineCount > 0; ++ply)
    {
        std::vector<moveCode> moves;
        if (ply < lastPly)
            moves = legalMoves(*board);
        if (moves.empty())
        {
            ply = 0;
            setupPlayablePosition(startPositionFen, board->position);
            moves = legalMoves(*board);
        }
        if (ply >= firstPly && ply % pliesBetween == 0 && board->position.info[0].inCheck == 0)
        {
            text += fenOf(board->position, false, 1) + " c9\n";
            --lineCount;
        }
        playGameMove(board->position, moves[random() % moves.size()]);
    }
    return text;
}

class tunerFixture : public testing::Test
{
  protected:
    void SetUp() override
    {
        useSyntheticNetwork();
        TearDown();
    }
    void TearDown() override
    {
        tuningPositions.clear();
        tuningK = 3.55;
        tunableTerms = shippedTerms;
    }

    /// Reads the text of a data file.
    void read(const std::string &fileText)
    {
        std::istringstream file(fileText);
        readTuningPositions(file, *position, print);
    }

    std::string printed;
    tunerOutput print = [this](std::string_view text) { printed += text; };
    std::unique_ptr<pos> position = std::make_unique<pos>();
};

} // namespace tarvonel
