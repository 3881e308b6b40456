#include "search/movePicker.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "movegen/legality.h"
#include "search/history.h"
#include "search/searchSupport.h"
#include "support/bruteForce.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

/// "text/stage" of the moves of the ply in the order of the picker, a blank after each.
std::string firstMoves(workbench &bench, int count)
{
    std::string picked;
    prepareMovePicker(bench.ply, *bench);
    for (; count > 0; --count)
    {
        const moveCode move = nextMove(bench.ply, *bench, false);
        picked += bench.text(move) + "/" + std::to_string(bench.node().stage) + ' ';
    }
    return picked;
}

// Searches of a single thread do not show this.
TEST(movePicker, oneThreadInFourDoesNotSortTheRootCaptures)
{
    // Generated with the pawn's capture first; by victim the queen on a8 comes first.
    workbench queen("q6k/7p/4p3/3p4/4P3/2N5/6P1/R5K1 w - - 0 1");
    for (const int thread : {0, 1, 2, 3, 4, 6, 7, 11})
    {
        queen->threadIndex = thread;
        EXPECT_EQ(firstMoves(queen, 1), thread % 4 == 3 ? "e4d5/2 " : "a1a8/2 ") << thread;
    }
}

TEST(movePicker, everyLegalMoveComesOnceWithAnyHashMoveAndKillers)
{
    std::mt19937 random(5);
    std::vector<moveCode> pool{noMove};
    int nodes = 0;
    std::size_t hidden = 0;
    for (const bool chess960 : {false, true})
        playRandomGames(
            {.seed = 21, .games = isSanitized ? 2 : 8, .chess960 = chess960},
            [&](pos &root, const bruteForce::letterBoard &board)
            {
                static searchBoard owner;
                owner.adopt(root);
                pos &position = owner.position;
                posinfo &node = position.info[0];
                buildLegalList(0, node.listStart, position);
                std::vector<moveCode> legal(node.listStart, node.listEnd);
                for (const moveCode move : legal)
                    if (position.board[moveTo(move)] == emptySquare)
                        pool.push_back(withExtra(move, position.board[moveFrom(move)]));
                if (pool.size() > 300)
                    pool.erase(pool.begin(), pool.begin() + 100);

                const auto drawn = [&] { return pool[random() % pool.size()]; };
                for (moveCode &killer : node.killers) // quiet then, and to a square that is empty now as well
                    if (killer = drawn(); position.board[moveTo(killer)] != emptySquare)
                        killer = noMove;
                if (sameMove(node.killers[0], node.killers[1]))
                    node.killers[1] = noMove;
                node.hashMove = random() % 2 == 0 || legal.empty() ? drawn() : legal[random() % legal.size()];
                if (random() % 2 == 0 && node.hashMove != noMove)
                    node.hashMove = withExtra(node.hashMove, position.board[moveFrom(node.hashMove)]);

                std::vector<moveCode> expected;
                for (const moveCode move : legal)
                {
                    // A remembered move of another piece fails its test and hides the move of this one.
                    const moveCode own = withExtra(move, position.board[moveFrom(move)]);
                    const auto isForeign = [&](moveCode special) { return sameMove(special, own) && special != own; };
                    const bool isQuiet = position.board[moveTo(move)] == emptySquare && node.inCheck == 0;
                    if (!isForeign(node.hashMove) &&
                        !(isQuiet && (isForeign(node.killers[0]) || isForeign(node.killers[1]))))
                        expected.push_back(move & moveIdentityMask);
                }

                hidden += legal.size() - expected.size();
                std::vector<moveCode> found;
                prepareMovePicker(0, position);
                for (moveCode move = nextMove(0, position, false); move != noMove; move = nextMove(0, position, false))
                    if (node.stage == stageCaptureInit || node.inCheck != 0 || isMoveLegal(position, 0, move))
                        found.push_back(move & moveIdentityMask);
                std::ranges::sort(expected);
                std::ranges::sort(found);
                ASSERT_EQ(found, expected) << bruteForce::writeFen(board) << ' ' << node.hashMove << ' '
                                           << node.killers[0] << ' ' << node.killers[1];
                ++nodes;
            });
    EXPECT_GT(nodes, 300);
    EXPECT_GT(hidden, 10U);
}

} // namespace
} // namespace tarvonel
