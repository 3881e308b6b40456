#include "search/see.h"

#include <gtest/gtest.h>

#include "search/searchSupport.h"

namespace tarvonel
{
namespace
{

TEST(see, knownExchanges)
{
    const struct
    {
        const char *reason, *fen, *move;
        std::int16_t threshold;
        bool expected;
    } cases[] = {
        {"queen takes defended pawn", "2n1k3/8/3p4/8/8/8/3Q4/4K3 w - - 0 1", "d2d6", 0, false},
        {"rook takes defended knight, supported by a rook", "4k3/8/3n4/5n2/8/8/3R4/3RK3 w - - 0 1", "d2d6", 0, true},
        {"the king may not take back a defended piece", "8/8/3pk3/8/8/8/3R4/3RK3 w - - 0 1", "d2d6", 0, true},
        {"a pawn is no gain of 100", "4k3/8/3p4/4P3/8/8/8/4K3 w - - 0 1", "e5d6", 100, false},
        {"quiet knight on to a pawn's square", "4k3/2p5/8/8/4N3/8/8/4K3 w - - 0 1", "e4d6", 0, false},
        {"a bishop that supports a pawn captures too", "6k1/8/4pn2/3p4/2P5/1BN5/8/6K1 w - - 0 1", "c3d5", -197, true},
        {"a knight on a square attacked by pawn and bishop", "4k3/8/8/1b6/2p5/8/4N3/4K3 b - - 0 1", "c4c3", 0, false},
        {"en passant at 0", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6", 0, true},
        {"en passant above 0", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6", 1, false},
        {"castling at 0", "4k3/8/8/8/8/8/8/4K2R w K - 0 1", "e1g1", 0, true},
        {"a promotion moves a pawn's worth", "3rk3/4P3/8/8/8/8/8/4K3 w - - 0 1", "e7d8q", 478, true},
        // Knight takes pawn, rook takes knight, knight takes rook, rook takes knight: 88 - 372 + 566 - 372.
        {"above a tie", "3r2k1/3r4/3p4/8/2N1N3/8/8/4K3 w - - 0 1", "c4d6", -91, true},
        {"a tie by the opponent's capture fails", "3r2k1/3r4/3p4/8/2N1N3/8/8/4K3 w - - 0 1", "c4d6", -90, false},
    };
    for (const auto &c : cases)
    {
        workbench bench(c.fen);
        EXPECT_EQ(seeAtLeast(bench.move(c.move), c.threshold, *bench), c.expected) << c.reason;
    }
}

} // namespace
} // namespace tarvonel
