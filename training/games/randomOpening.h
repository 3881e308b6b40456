// Start positions drawn by chance: the standard or one of the 960, and some random moves.
#pragma once

#include <random>
#include <string>

#include "games/gameBoard.h"

namespace tarvonel
{

using randomSource = std::mt19937_64;

inline constexpr int chess960Starts = 960;

/// Start position number 0 to 959 of Chess960; 518 is the standard one.
std::string chess960Fen(int number);

/// A legal move of the position drawn by chance; there is at least one.
moveCode randomMove(const std::vector<moveCode> &moves, randomSource &random);

struct openingPlan
{
    int fewestPlies = 8;        ///< that many random plies, or one more
    double chess960Share = 0.2; ///< of games that begin with one of the 960 starts
};

/// Sets up an opening and tells how many plies it took; -1 if the game ended in them.
int drawOpening(gameBoard &board, const openingPlan &plan, randomSource &random);

} // namespace tarvonel
