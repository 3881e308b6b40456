#include "games/randomOpening.h"

#include <array>
#include <cctype>

#include "board/makeMove.h"
#include "board/setup.h"

namespace tarvonel
{

namespace
{

constexpr int bishopSquares = 4;
constexpr int queenPlaces = 6;
constexpr std::array<std::array<int, 2>, 10> knightPlaces = {
    {{0, 1}, {0, 2}, {0, 3}, {0, 4}, {1, 2}, {1, 3}, {1, 4}, {2, 3}, {2, 4}, {3, 4}}};

/// Puts a letter on the n-th free place of the row, counted from the left.
void placeOnFree(std::string &row, int n, char letter)
{
    for (char &place : row)
    {
        if (place == ' ' && n-- == 0)
        {
            place = letter;
            return;
        }
    }
}

} // namespace

// The usual numbering: bishops first, then queen, knights, and rook, king, rook in what is left.
std::string chess960Fen(int number)
{
    std::string row(8, ' ');
    row[static_cast<std::size_t>(2 * (number % bishopSquares) + 1)] = 'b';
    number /= bishopSquares;
    row[static_cast<std::size_t>(2 * (number % bishopSquares))] = 'b';
    number /= bishopSquares;
    placeOnFree(row, number % queenPlaces, 'q');
    const std::array<int, 2> &knights = knightPlaces[static_cast<std::size_t>(number / queenPlaces)];
    placeOnFree(row, knights[1], 'n'); // the right one first, so that the left one's place still counts
    placeOnFree(row, knights[0], 'n');
    for (const char letter : {'r', 'k', 'r'})
        placeOnFree(row, 0, letter);
    std::string whiteRow = row;
    for (char &letter : whiteRow)
        letter = static_cast<char>(std::toupper(letter));
    return row + "/pppppppp/8/8/8/8/PPPPPPPP/" + whiteRow + " w KQkq - 0 1";
}

moveCode randomMove(const std::vector<moveCode> &moves, randomSource &random)
{
    return moves[random() % moves.size()] & moveIdentityMask;
}

int drawOpening(gameBoard &board, const openingPlan &plan, randomSource &random)
{
    const bool is960 = std::uniform_real_distribution<double>(0, 1)(random) < plan.chess960Share;
    const std::string fen = is960 ? chess960Fen(static_cast<int>(random() % chess960Starts)) : startPositionFen;
    const int plies = plan.fewestPlies + static_cast<int>(random() % 2);
    if (!setupGame(board, fen).empty())
        return -1;
    for (int ply = 0; ply < plies; ++ply)
    {
        const std::vector<moveCode> moves = legalMoves(board);
        if (endOfGame(board, moves) != gameEnd::none)
            return -1;
        playGameMove(board.position, randomMove(moves, random));
    }
    return endOfGame(board, legalMoves(board)) == gameEnd::none ? plies : -1;
}

} // namespace tarvonel
