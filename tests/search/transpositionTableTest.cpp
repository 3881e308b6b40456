#include "search/transpositionTable.h"

#include <array>
#include <utility>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "search/score.h"

namespace tarvonel
{
namespace
{

class transpositionTable : public testing::Test
{
  protected:
    void SetUp() override
    {
        engineOptions.threadCount = 1;
        ttResize(1);
        ttAdvanceAge();
    }

    /// Keys that share a cluster.
    static std::uint64_t keyOf(std::uint64_t number) { return number << 32 | 77; }
    static bool isHeld(std::uint64_t number) { return ttProbe(keyOf(number)).isHit(); }
    static void age(int searches)
    {
        for (int i = 0; i < searches; ++i)
            ttAdvanceAge();
    }
};

TEST_F(transpositionTable, sizesAreRoundedUpToPowersOfTwo)
{
    for (const auto &[asked, taken] : {std::pair{0, 1}, {1, 1}, {2, 2}, {3, 4}, {4, 4}, {5, 8}, {-3, 1}})
    {
        ttStore(keyOf(1), encodeMove(8, 16), 0, 9, boundExact, 0);
        EXPECT_EQ(ttResize(asked), taken);
        EXPECT_EQ(ttMask, taken * 16384 - 1);
        EXPECT_FALSE(isHeld(1));
    }
}

TEST_F(transpositionTable, replacesTheLeastValuableEntry)
{
    const struct
    {
        const char *reason;
        int firstDepth, searchesLater; ///< of the first entry; the other three come then
        std::array<int, 3> depths;
        std::uint64_t exact, replaced; ///< numbers of entries
    } cases[] = {
        {"the first of two equals goes", 5, 0, {3, 3, 7}, 0, 2},
        {"an exact entry is worth a ply more", 5, 0, {3, 3, 7}, 2, 3},
        {"a search costs four plies: 70 - 64 is less than 7", 70, 16, {7, 7, 7}, 0, 1},
        {"72 - 64 is more", 72, 16, {7, 7, 7}, 0, 2},
    };
    for (const auto &c : cases)
    {
        ttClear();
        age(1);
        ttStore(keyOf(1), noMove, 0, c.firstDepth, boundLower, 0);
        age(c.searchesLater);
        for (std::uint64_t number = 2; number <= 4; ++number)
            ttStore(keyOf(number), noMove, 0, c.depths[number - 2], number == c.exact ? boundExact : boundLower, 0);
        ttStore(keyOf(9), noMove, 0, 1, boundUpper, 0);
        for (const std::uint64_t number : {1, 2, 3, 4, 9})
            EXPECT_EQ(isHeld(number), number != c.replaced) << c.reason << ", entry " << number;
    }
}

TEST_F(transpositionTable, agesWrapAfterSixtyFourSearches)
{
    EXPECT_EQ(ttAge, 0);
    age(63);
    EXPECT_EQ(ttAge, 63);
    for (std::uint64_t number = 1; number <= 4; ++number)
        ttStore(keyOf(number), noMove, 0, 10, boundLower, 0);
    age(1);
    EXPECT_EQ(ttAge, 0);
    ttStore(keyOf(1), noMove, 0, 6, boundExact, 0); // young but shallow: worth 7, an old one 10 - 4
    ttStore(keyOf(9), noMove, 0, 1, boundUpper, 0);
    EXPECT_TRUE(isHeld(1) && !isHeld(2));
    age(63); // 64 searches after the fill: looks new
    EXPECT_EQ(ttProbe(keyOf(3)).age(), ttAge);

    ttClear();
    EXPECT_EQ(ttAge, 63) << "clearing leaves the age to the next search";
    ttAdvanceAge();
    EXPECT_EQ(ttAge, 0);
}

TEST_F(transpositionTable, mateScoresAreRelativeToTheirNode)
{
    const struct
    {
        int score, storePly, word, readPly, read;
    } cases[] = {
        {32000 - 13, 10, 32000 - 3, 4, 32000 - 7},
        {13 - 32000, 10, 3 - 32000, 4, 7 - 32000},
        {31871, 10, 31871, 4, 31871},
        {-31871, 5, -31871, 0, -31871},
        {31872 - 20, 20, 31872 - 20, 3, 31872 - 20},
    };
    for (const auto &c : cases)
    {
        ttStore(keyOf(1), noMove, c.score, 5, boundExact, c.storePly);
        EXPECT_EQ(ttProbe(keyOf(1)).value(), c.word) << c.score;
        EXPECT_EQ(scoreFromTable(ttProbe(keyOf(1)).value(), c.readPly), c.read) << c.score;
    }
}

TEST_F(transpositionTable, clearingReachesEveryClusterWithAnyNumberOfThreads)
{
    for (const int threads : {1, 3, 7, 256})
    {
        engineOptions.threadCount = threads;
        for (std::uint64_t cluster = 0; cluster <= ttMask; ++cluster)
            ttStore(cluster, noMove, 1, 1, boundExact, 0);
        ttClear();
        for (std::uint64_t cluster = 0; cluster <= ttMask; ++cluster)
            ASSERT_EQ(ttTable[cluster].data[0], 0U) << threads << ' ' << cluster;
    }
    engineOptions.threadCount = 1;
}

} // namespace
} // namespace tarvonel
