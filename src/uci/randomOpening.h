// Random openings for genfens and self-play: the start position, a Chess960 one or one from a book, and a
// few random moves.
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
    std::size_t refusedLines = 0; ///< lines without a playable position
};
/// Returns no positions if the file cannot be read.
openingBook readOpeningBook(const std::string &path);

inline constexpr int widestOpening = 300; ///< centipawns; openings with a larger score are discarded

struct openingPlan
{
    int fewestPlies = 8;               ///< random plies; half of the openings have one more
    double chess960Share = 0.2;        ///< share of games from Chess960 positions
    std::span<const std::string> book; ///< if not empty, FENs from which all games start instead
};

/// Sets up an opening. Returns its number of random plies, or -1 if the game ends within them.
int drawOpening(posWithMoves &board, const openingPlan &plan, randomSource &random);

} // namespace tarvonel
