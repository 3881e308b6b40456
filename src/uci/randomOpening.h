// Random start positions: the standard one, a Chess960 one or one from a book, followed by some random
// moves. For genfens and for self-play.
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

/// One of the legal moves, which must not be empty.
moveCode randomMove(const std::vector<moveCode> &moves, randomSource &random);

/// Start positions from a file with one FEN or EPD per line. Text after ';' is ignored.
struct openingBook
{
    std::vector<std::string> fens;
    std::size_t refusedLines = 0; ///< without a position that can be played from
};
/// Returns no positions if the file cannot be read.
openingBook readOpeningBook(const std::string &path);

inline constexpr int widestOpening = 300; ///< centipawns; openings that a search scores beyond are discarded

struct openingPlan
{
    int fewestPlies = 8;                 ///< random plies, or one more
    double chess960Share = 0.2;          ///< of games that start from a Chess960 position
    std::span<const std::string> book{}; ///< if not empty, all games start from one of these FENs instead
};

/// Sets up an opening and returns its number of random plies; -1 if the game is over by then.
int drawOpening(posWithMoves &board, const openingPlan &plan, randomSource &random);

} // namespace tarvonel
