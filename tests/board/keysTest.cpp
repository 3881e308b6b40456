#include "board/keys.h"

#include <set>

#include <gtest/gtest.h>

namespace tarvonel
{
namespace
{

TEST(keys, knownValuesAndNoValueTwice)
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

} // namespace
} // namespace tarvonel
