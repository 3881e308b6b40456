#include "movegen/legality.h"

#include <fstream>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "support/randomGames.h"
#include "support/sharedData.h"

namespace tarvonel
{
namespace
{

std::uint64_t countFrom(const std::string &fen, int depth)
{
    ownedPosition position(fen);
    return perft(0, depth, *position);
}

struct knownCounts
{
    const char *fen;
    std::vector<std::uint64_t> leaves; ///< from depth 1 on
};

const knownCounts wellKnown[] = {
    {startPositionFen, {20, 400, 8902, 197281, 4865609}},
    {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1", {48, 2039, 97862, 4085603}},
    {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", {14, 191, 2812, 43238, 674624}},
    {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1", {6, 264, 9467, 422333}},
    {"rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8", {44, 1486, 62379, 2103487}},
    {"r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10", {46, 2079, 89890, 3894594}},
    {"7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", {0, 0, 0}}, // stalemate
    {"R6k/6pp/8/8/8/8/8/K7 b - - 0 1", {0, 0}},    // mate
};

TEST(perft, countsWellKnownPositionsInBothVariants)
{
    for (const bool chess960 : {false, true})
        for (const knownCounts &known : wellKnown)
            for (std::size_t depth = 1; depth <= known.leaves.size(); ++depth)
            {
                const variantScope variant(chess960);
                EXPECT_EQ(countFrom(known.fen, static_cast<int>(depth)), known.leaves[depth - 1])
                    << known.fen << ' ' << depth;
            }
}

// Perft goes deeper only if there is room for another list after this one.
TEST(perft, pathsEndWhereTheMoveStackIsFull)
{
    ownedPosition position(startPositionFen);
    moveCode *const first = position.record->firstMove();
    const std::pair<int, unsigned> cases[] = {{2 * moveListReserve, 400}, {2 * moveListReserve - 1, 20}};
    for (const auto &[room, leaves] : cases)
    {
        position->info[1] = position->info[0];
        position->info[1].listStart = first + moveStackSize - room;
        EXPECT_EQ(perft(1, 2, *position), leaves) << room;
    }
}

/// Counts each line ("FEN ;D1 20 ;D2 400 ...") of the files at its greatest depth with no more than `mostLeaves`.
void checkCountFiles(std::uint64_t mostLeaves)
{
    for (const std::string name :
         {"perftsuite", "special_moves", "double_check", "en_passant", "random", "fischer", "fischer_xfen"})
    {
        std::ifstream lines(sharedDataPath("perft/" + name + ".epd"));
        if (!lines)
            GTEST_SKIP() << "no test data";
        const variantScope variant(name.starts_with("fischer"));
        for (std::string line; std::getline(lines, line);)
        {
            std::istringstream fields(line);
            std::string fen;
            std::getline(fields, fen, ';');
            int depth = 0;
            std::uint64_t leaves = 0;
            char mark = 0;
            for (auto [nextDepth, nextLeaves] = std::pair(0, std::uint64_t{0});
                 fields >> mark >> nextDepth >> nextLeaves && nextLeaves <= mostLeaves; fields >> mark)
                std::tie(depth, leaves) = std::tie(nextDepth, nextLeaves);
            if (depth > 0)
                EXPECT_EQ(countFrom(fen, depth), leaves) << name << ": " << fen << " depth " << depth;
        }
    }
}

TEST(perft, agreesWithFilesOfKnownCounts) { checkCountFiles(20'000); }

TEST(slowPerft, countsDeeper)
{
    EXPECT_EQ(countFrom(wellKnown[0].fen, 6), 119060324U);
    EXPECT_EQ(countFrom(wellKnown[1].fen, 5), 193690690U);
    checkCountFiles(3'000'000);
}

} // namespace
} // namespace tarvonel
