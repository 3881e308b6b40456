// Start positions drawn by chance: the standard one, one of Chess960 or one of a book, and some
// random moves.
#pragma once

#include <cstddef>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "movegen/gameRules.h"

namespace tarvonel
{

using randomSource = std::mt19937_64;

/// A legal move of the position drawn by chance; there is at least one.
moveCode randomMove(const std::vector<moveCode> &moves, randomSource &random);

/// Start positions from a file, one FEN or EPD a line, what stands behind ';' left out.
struct openingBook
{
    std::vector<std::string> fens;
    std::size_t refusedLines = 0; ///< that hold no position to play from
};
/// No positions if the file cannot be read.
openingBook readOpeningBook(const std::string &path);

inline constexpr int widestOpening = 300; ///< centipawns; openings that a search sees beyond are not played

struct openingPlan
{
    int fewestPlies = 8;                 ///< that many random plies, or one more
    double chess960Share = 0.2;          ///< of games that begin with one of the 960 starts
    std::span<const std::string> book{}; ///< if there is any, all games begin with one of these instead
};

/// Sets up an opening and tells how many plies it took; -1 if the game ended in them.
int drawOpening(posWithMoves &board, const openingPlan &plan, randomSource &random);

} // namespace tarvonel
