// Legal moves and the end of a game. The current position of a game is at ply 0.
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
    material, ///< neither side can mate by any sequence of moves
};

/// All legal moves, in no particular order. Also updates `inCheck` of ply 0.
std::vector<moveCode> legalMoves(posWithMoves &board);

/// Why the game is over, if it is. `moves` are the legal moves.
gameEnd endOfGame(const posWithMoves &board, const std::vector<moveCode> &moves);

/// The legal move with this UCI text, or `noMove`.
moveCode findMove(const posWithMoves &board, const std::vector<moveCode> &moves, const std::string &text);

/// The name of an end in game records.
const char *endText(gameEnd end);

} // namespace tarvonel
