#include "board/keys.h"

#include <set>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/moveText.h"
#include "board/setup.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

TEST(keys, tableHoldsItsLandmarksAndNoValueTwice)
{
    EXPECT_EQ(pieceKey(whitePawn, a1), 0xACFEAF947971818A);
    EXPECT_EQ(pieceKey(whitePawn, b1), 0x1E1A986BCEE58E3B);
    EXPECT_EQ(pieceKey(whitePawn, c1), 0xD1DD9BBC7B8C8D68);
    EXPECT_EQ(keys.castling[0], 0xB60876BCF1AC653F);
    EXPECT_EQ(keys.castling[15], 0x52350392A46A0725);
    EXPECT_EQ(keys.enPassant[fileA], 0xC1E7974D83CF2E9A);
    EXPECT_EQ(keys.enPassant[fileH], 0x6445BBD8C88B77B1);
    EXPECT_EQ(keys.side, 0xF31FA94FE63F529F);

    std::set<std::uint64_t> values = {0, keys.side};
    for (const auto &row : keys.piece)
        values.insert(std::begin(row), std::end(row));
    values.insert(std::begin(keys.castling), std::end(keys.castling));
    values.insert(std::begin(keys.enPassant), std::end(keys.enPassant));
    EXPECT_EQ(values.size(), 793U + 1U);
}

std::uint64_t keyOf(const std::string &fen) { return ownedPosition(fen)->key; }

TEST(keys, keyTellsSideRightsAndDoubleStepApart)
{
    const std::string men = "r3k2r/8/8/8/4P3/8/8/R3K2R";
    const std::uint64_t key = keyOf(men + " b KQkq - 0 1");
    EXPECT_EQ(keyOf(men + " w KQkq - 0 1") ^ key, keys.side);
    EXPECT_EQ(keyOf(men + " b KQkq e3 0 1") ^ key, keys.enPassant[fileE]);
    EXPECT_EQ(keyOf(men + " b Kkq - 0 1") ^ key, keys.castling[15] ^ keys.castling[11]);
    EXPECT_EQ(keyOf(men + " b - - 0 1") ^ key, keys.castling[15] ^ keys.castling[0]);
    EXPECT_EQ(keyOf(men + " b KQkq - 37 99"), key);
}

TEST(keys, pawnKeyKnowsPawnsAndKingsAlone)
{
    struct pawnKeyCase
    {
        const char *move;
        bool changes;
    };
    const pawnKeyCase cases[] = {{"a1b1", false}, {"e2e4", true},  {"e1f1", true},
                                 {"e1g1", true},  {"g2f3", false}, {"d5e6", true}};
    for (const pawnKeyCase &pawnCase : cases)
    {
        ownedPosition position("4k3/8/8/3Pp3/8/5n2/4P1B1/R3K2R w KQ e6 0 1");
        const std::uint64_t before = position->pawnKey;
        makeMove(*position, 0, parseMoveText(pawnCase.move, *position));
        EXPECT_EQ(position->pawnKey != before, pawnCase.changes) << pawnCase.move;
    }
}

} // namespace
} // namespace tarvonel
