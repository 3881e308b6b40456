// Whether single moves are legal, valid in a position or give check; the list of legal moves; and perft.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

/// `isMoveLegal` without `unpinned`, for lists whose generator does not write it. Restores the board.
bool isMoveLegalSlow(pos &position, int ply, moveCode move);

/// Whether a move generated at this ply leaves the own king safe. Reads `unpinned` of the ply. Evasions
/// are generated legal and need no test.
inline bool isMoveLegal(pos &position, int ply, moveCode move)
{
    const int from = moveFrom(move);
    if ((position.info[ply].unpinned & bit(from)) != 0 && !isKing(position.board[from]) && !isEnPassant(move))
        return true;
    return isMoveLegalSlow(position, ply, move);
}

/// Whether a move that was legal in some position (a hash move, killer or counter move), with the moving
/// piece in its extra byte, is pseudo-legal in this one. Reads `inCheck`, `enPassant` and `castling` of
/// the ply. In Chess960 it rejects castling with a king already on its target.
bool isMoveValid(const pos &position, int ply, moveCode move);

/// Where checks can come from, computed once per node.
struct checkSquares
{
    bitboard byType[pieceTypeCount]; ///< squares from which a piece of the type attacks the enemy king
    bitboard discoverers;            ///< own pieces that block one of their own sliders from that king
    int enemyKing;
};

/// For the side to move.
checkSquares findCheckSquares(const pos &position);

/// Whether a legal move gives check. Plain moves and double steps are looked up; the rare others are
/// made and unmade on the board.
bool givesCheck(pos &position, int ply, const checkSquares &checks, moveCode move);

/// Writes the legal moves from `slot`, the ply's `listStart`, on, and computes `inCheck` of the ply. The
/// order is that of generation, but the last move of the list replaces each illegal one.
void buildLegalList(int ply, moveCode *slot, pos &position);

/// Counts the legal moves and computes `inCheck` of the ply. Leaves the list as generated: legal moves
/// in check, otherwise pseudo-legal ones.
int countLegalMoves(int ply, moveCode *slot, pos &position);

/// Number of legal move sequences of `depth` plies from the position at `ply`, which it restores;
/// `depth` is 1 to `maxPly` - `ply`. Uses the move stack from the ply's `listStart` on. Paths that fill
/// the move stack, which are dozens of plies long, are cut off there.
std::uint64_t perft(int ply, int depth, pos &position);

} // namespace tarvonel
