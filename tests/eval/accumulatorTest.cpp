#include "eval/network.h"

#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/setup.h"
#include "movegen/legality.h"
#include "support/randomGames.h"
#include "support/syntheticNetwork.h"

namespace tarvonel
{

namespace
{

using sumLanes = std::vector<int>;

/// The sum of one view by its definition.
sumLanes sumByDefinition(const pos &position, colour view)
{
    int king = 0;
    while (position.board[king] != whiteKing + view)
        ++king;
    const auto orient = [view](int square) { return view == white ? square : square ^ 56; };
    std::vector<std::uint32_t> sums(std::begin(netWeights.featureBias), std::end(netWeights.featureBias));
    for (int square = 0; square < 64; ++square)
    {
        const int piece = position.board[square];
        if (piece == 0)
            continue;
        const int kind = ((piece - 2) & 14) + ((piece & 1) != view ? 1 : 0);
        const std::int16_t *row = netWeights.featureWeight[(orient(king) * 12 + kind) * 64 + orient(square)];
        for (std::size_t lane = 0; lane < sums.size(); ++lane)
            sums[lane] += static_cast<std::uint32_t>(row[lane]);
    }
    sumLanes wrapped;
    for (const std::uint32_t sum : sums)
        wrapped.push_back(static_cast<std::int16_t>(sum & 0xFFFF));
    return wrapped;
}

void expectRightSums(pos &position, int ply)
{
    updateAccumulators(position, ply);
    const accumulatorBlock &block = position.accumulatorBlocks[ply];
    EXPECT_TRUE(block.computed);
    for (const colour view : {white, black})
        ASSERT_EQ(sumLanes(std::begin(block.accumulator[view]), std::end(block.accumulator[view])),
                  sumByDefinition(position, view))
            << "view " << view << " ply " << ply;
}

struct walkPlan
{
    const char *fen;
    bool chess960;
    int evaluateOneIn; ///< one ply in how many is evaluated; high numbers make long chains
};

/// Random walk in the tree: forward by moves and null moves, back by several plies at once.
void wander(const walkPlan &plan, accumulatorCacheEntry *cache, std::uint32_t seed)
{
    const variantScope variant(plan.chess960);
    ownedPosition position(plan.fen);
    position->accumulatorCache = cache;
    std::mt19937 random(seed);
    struct step
    {
        moveCode move;
        std::uint64_t key; ///< before a null move
    };
    std::vector<step> path;
    for (int i = 0; i < 600 && !::testing::Test::HasFatalFailure(); ++i)
    {
        const int ply = static_cast<int>(path.size());
        if (random() % static_cast<std::uint32_t>(plan.evaluateOneIn) == 0)
            expectRightSums(*position, ply);
        buildLegalList(ply, position->info[ply].listStart, *position);
        const auto moves = position->info[ply].listEnd - position->info[ply].listStart;
        const bool atEnd = moves == 0 || ply >= 30;
        auto back = atEnd ? 1 + random() % 10 : static_cast<std::uint_fast32_t>(random() % 4 == 0);
        for (; back > 0 && !path.empty(); --back)
        {
            const step last = path.back();
            path.pop_back();
            if (last.move == noMove)
                unmakeNullMove(*position, last.key);
            else
                unmakeMove(*position, static_cast<int>(path.size()), last.move);
        }
        if (atEnd || static_cast<int>(path.size()) != ply)
            continue;
        if (position->info[ply].inCheck == 0 && random() % 8 == 0)
            path.push_back({noMove, makeNullMove(*position, ply)});
        else
        {
            path.push_back({position->info[ply].listStart[random() % static_cast<std::uint32_t>(moves)], 0});
            makeMove(*position, ply, path.back().move);
        }
    }
}

const walkPlan walks[] = {
    {startPositionFen, false, 2},
    {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1", false, 1},
    {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1", false, 6},
    {"n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1", false, 2},                       // promotions by capture
    {"rnbqkb1r/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3", false, 3}, // en passant
    {"8/5k2/8/3P4/8/8/2K5/8 w - - 0 1", false, 3},                               // chains cost more than a refresh
    {"1rkr4/pppppppp/8/8/8/8/PPPPPPPP/1RKR4 w DBdb - 0 1", true, 2},             // castling to a neighbouring square
    {"r4kr1/pppppppp/8/8/8/8/PPPPPPPP/R4KR1 w GAga - 0 1", true, 1},             // king and rook change places
};

} // namespace

TEST(accumulator, sumsFollowTheMoves)
{
    useSyntheticNetwork();
    std::vector<accumulatorCacheEntry> cache(accumulatorCacheSize);
    std::uint32_t seed = 1;
    for (const walkPlan &plan : walks)
    {
        SCOPED_TRACE(plan.fen);
        wander(plan, nullptr, seed);
        wander(plan, cache.data(), seed); // one cache for all, as in a worker
        ++seed;
    }
}

// A chain that costs more than a refresh is not followed: its rows would overflow the row lists.
TEST(accumulator, longestChainIsRefreshed)
{
    useSyntheticNetwork();
    ownedPosition position(startPositionFen);
    expectRightSums(*position, 0);
    const moveCode shuffle[] = {encodeMove(g1, f3), encodeMove(g8, f6), encodeMove(f3, g1), encodeMove(f6, g8)};
    for (int ply = 0; ply < maxPly; ++ply)
        makeMove(*position, ply, shuffle[ply % 4]);
    expectRightSums(*position, maxPly);
}

TEST(accumulator, sumsAreRecomputedForANewNetworkOrPosition)
{
    std::vector<accumulatorCacheEntry> cache(accumulatorCacheSize);
    ownedPosition position(startPositionFen);
    position->accumulatorCache = cache.data();
    for (const std::uint64_t seed : {1, 2})
    {
        useSyntheticNetwork({seed});
        position->accumulatorBlocks[0].computed = false;
        expectRightSums(*position, 0);
    }
    ASSERT_EQ(setupPosition("8/5k2/8/3P4/8/8/2K5/8 b - - 0 1", *position), "");
    expectRightSums(*position, 0);
}

} // namespace tarvonel
