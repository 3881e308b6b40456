// Legality: whether a generated move leaves the own king safe, whether a move from elsewhere (hash
// move, killer, counter move) can be played at all, the list of legal moves, and perft.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

/// `isMoveLegal` without `unpinned`, for lists whose generator does not write it. Restores the board.
bool isMoveLegalSlow(pos &position, int ply, moveCode move);

/// Whether a move generated at this ply leaves the own king safe. Needs `unpinned` of the ply. Not for
/// evasions, which are legal as generated.
inline bool isMoveLegal(pos &position, int ply, moveCode move)
{
    const int from = moveFrom(move);
    if ((position.info[ply].unpinned & bit(from)) != 0 && !isKing(position.board[from]) && !isEnPassant(move))
        return true;
    return isMoveLegalSlow(position, ply, move);
}

/// Whether a move that was legal in some position, with the moving piece as its extra byte, is
/// pseudo-legal in this one. Reads `inCheck`, `enPassant` and `castling` of the ply. In Chess960 it
/// refuses castling with a king already on its target.
bool isMoveValid(const pos &position, int ply, moveCode move);

/// Writes the legal moves from `slot`, the ply's `listStart`, on, and computes `inCheck` of the ply.
/// Generation order, but the list's last move replaces each illegal one.
void buildLegalList(int ply, moveCode *slot, pos &position);

/// Counts the legal moves and computes `inCheck` of the ply. Leaves the list as generated: legal moves
/// in check, otherwise pseudo-legal ones.
int countLegalMoves(int ply, moveCode *slot, pos &position);

/// Number of legal move sequences of `depth` plies from the position at `ply`, which it restores;
/// `depth` is 1 to `maxPly` - `ply`. Uses the move stack from the ply's `listStart` on. Counts a path
/// whose lists fill the move stack only to that point; such paths are dozens of plies long.
std::uint64_t perft(int ply, int depth, pos &position);

} // namespace tarvonel
