#include "support/randomGames.h"

#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/setup.h"

namespace tarvonel
{

ownedPosition::ownedPosition(const std::string &fen) { EXPECT_EQ(setupPosition(fen, **this), "") << fen; }

void playRandomGames(const randomGamePlan &plan, const gameVisitor &visit)
{
    const variantScope variant(plan.chess960);
    std::mt19937 random(plan.seed);
    for (int game = 0; game < plan.games; ++game)
    {
        const std::string fen =
            plan.chess960 ? chess960Fen(static_cast<int>(random() % chess960Starts)) : startPositionFen;
        ownedPosition position(fen);
        bruteForce::letterBoard board = bruteForce::readFen(fen);
        for (int ply = 0; ply <= plan.plies; ++ply)
        {
            position->info[0].inCheck = bruteForce::isInCheck(board, board.whiteToMove) ? 1 : 0;
            visit(*position, board);
            const std::vector<bruteForce::letterMove> moves = bruteForce::legalMoves(board);
            if (moves.empty() || ::testing::Test::HasFatalFailure())
                break;
            const bruteForce::letterMove &move = moves[random() % moves.size()];
            playGameMove(*position, bruteForce::codeOf(board, move));
            board = bruteForce::play(board, move);
        }
    }
}

} // namespace tarvonel
