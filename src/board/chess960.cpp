#include "board/chess960.h"

#include <array>
#include <cctype>

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

} // namespace tarvonel
