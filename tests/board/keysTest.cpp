#include "board/keys.h"

#include <set>

#include <gtest/gtest.h>

#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

TEST(keys, tableHoldsItsLandmarksAndNoValueTwice)
{
    EXPECT_EQ(pieceKey(whitePawn, a1), 0xACFEAF947971818A);
    EXPECT_EQ(keys.castling[15], 0x52350392A46A0725);
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

} // namespace
} // namespace tarvonel
