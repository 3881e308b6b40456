#include "support/randomGames.h"

#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "board/setup.h"

namespace tarvonel
{

namespace
{

void putOnFree(std::string &rank, int freeIndex, char letter)
{
    for (char &place : rank)
    {
        if (place == '.' && freeIndex-- == 0)
        {
            place = letter;
            return;
        }
    }
}

} // namespace

ownedPosition::ownedPosition(const std::string &fen) { EXPECT_EQ(setupPosition(fen, **this), "") << fen; }

std::string startFen960(int number)
{
    constexpr int knightPlaces[10][2] = {{0, 1}, {0, 2}, {0, 3}, {0, 4}, {1, 2},
                                         {1, 3}, {1, 4}, {2, 3}, {2, 4}, {3, 4}};
    std::string rank = "........";
    rank[2 * (number % 4) + 1] = 'b';
    rank[2 * (number / 4 % 4)] = 'b';
    putOnFree(rank, number / 16 % 6, 'q');
    const int *knights = knightPlaces[number / 96];
    putOnFree(rank, knights[1], 'n');
    putOnFree(rank, knights[0], 'n');
    putOnFree(rank, 0, 'r');
    putOnFree(rank, 0, 'k');
    putOnFree(rank, 0, 'r');

    std::string letters{static_cast<char>('a' + rank.rfind('r')), static_cast<char>('a' + rank.find('r'))};
    std::string upperRank = rank;
    std::string upperLetters = letters;
    for (std::string *text : {&upperRank, &upperLetters})
        for (char &letter : *text)
            letter = static_cast<char>(letter - 'a' + 'A');
    return rank + "/pppppppp/8/8/8/8/PPPPPPPP/" + upperRank + " w " + upperLetters + letters + " - 0 1";
}

void playRandomGames(const randomGamePlan &plan, const gameVisitor &visit)
{
    const variantScope variant(plan.chess960);
    std::mt19937 random(plan.seed);
    for (int game = 0; game < plan.games; ++game)
    {
        const std::string fen = plan.chess960 ? startFen960(static_cast<int>(random() % 960)) : startPositionFen;
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
