// The legal moves of a game's position, which is always at ply 0, and when the rules end the game.
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
    repetition, ///< the position occurs for the third time
    fiftyMoves,
    material, ///< neither side could mate by any sequence of moves
};

/// All legal moves, in no particular order. Also updates `inCheck` of ply 0.
std::vector<moveCode> legalMoves(posWithMoves &board);

/// Why the game is over, given its legal moves.
gameEnd endOfGame(const posWithMoves &board, const std::vector<moveCode> &moves);

/// The legal move with this text in the protocol's notation, or 0.
moveCode findMove(const posWithMoves &board, const std::vector<moveCode> &moves, const std::string &text);

/// The name of an end in game records.
const char *endText(gameEnd end);

} // namespace tarvonel
