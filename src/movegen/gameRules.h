// A whole game, its position always at ply 0: the legal moves, and when the rules end it.
#pragma once

#include <string>
#include <vector>

#include "board/pos.h"

namespace tarvonel
{

enum class gameEnd
{
    none,
    checkmate, ///< the side to move is mated
    stalemate,
    repetition, ///< the position stands for the third time
    fiftyMoves,
    material, ///< neither side could mate by any sequence of moves
};

/// All legal moves, in no special order. Also brings `inCheck` of ply 0 up to date.
std::vector<moveCode> legalMoves(posWithMoves &board);

/// Why the game is over, given its legal moves.
gameEnd endOfGame(const posWithMoves &board, const std::vector<moveCode> &moves);

/// The legal move that a text in the protocol's form means, or 0.
moveCode findMove(const posWithMoves &board, const std::vector<moveCode> &moves, const std::string &text);

/// What an end is called in a game's record.
const char *endText(gameEnd end);

} // namespace tarvonel
