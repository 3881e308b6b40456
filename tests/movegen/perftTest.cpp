#include "movegen/legality.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "support/randomGames.h"

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
    bool isChess960 = false;           ///< not a position of standard chess
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
    {"qnnbrk1r/1p1ppbpp/2p5/p4p2/2NP3P/8/PPP1PPP1/Q1NBRKBR w HEhe - 0 1", {26, 790, 21238, 642367}, true},
    {"b1nqrkrb/2pppppp/p7/1P6/1n6/P4P2/1P1PP1PP/BNNQRKRB w GEge - 0 1", {23, 638, 15744, 446539}, true},
};

TEST(perft, countsWellKnownPositionsInBothVariants)
{
    for (const bool chess960 : {false, true})
        for (const knownCounts &known : wellKnown)
            for (std::size_t depth = 1; depth <= known.leaves.size(); ++depth)
            {
                const variantScope variant(chess960 || known.isChess960);
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

TEST(slowPerft, countsWellKnownPositionsDeeper)
{
    EXPECT_EQ(countFrom(startPositionFen, 6), 119060324U);
    EXPECT_EQ(countFrom(wellKnown[1].fen, 5), 193690690U);
    EXPECT_EQ(countFrom(wellKnown[2].fen, 7), 178633661U);
    EXPECT_EQ(countFrom(wellKnown[3].fen, 5), 15833292U);
    EXPECT_EQ(countFrom(wellKnown[4].fen, 5), 89941194U);
    EXPECT_EQ(countFrom(wellKnown[5].fen, 5), 164075551U);
}

} // namespace
} // namespace tarvonel
