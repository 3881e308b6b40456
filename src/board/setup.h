// Positions from FEN text and back, the Chess960 start positions, and the board diagram.
#pragma once

#include <string>

#include "board/pos.h"

namespace tarvonel
{

inline constexpr const char *startPositionFen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

inline constexpr int chess960Starts = 960;

/// FEN of Chess960 start position 0 to 959; 518 is the standard one.
std::string chess960Fen(int number);

/// Sets up `position` at ply 0. Reads standard FEN and both forms of Chess960 castling rights (KQkq
/// for the outermost rooks, and file letters); missing trailing fields get defaults. Returns an empty
/// string, or a line that says what is wrong and leaves `position` unchanged. Accepts positions in which
/// the side not to move is in check.
std::string setupPosition(const std::string &fen, pos &position);

/// `setupPosition` for positions to play from: also rejects those in which the side not to move is in
/// check, and drops invalid rights. After an error the contents of `position` are unspecified.
std::string setupPlayablePosition(const std::string &fen, pos &position);

/// The sums that `pos` keeps incrementally, computed from the bitboards.
struct positionSums
{
    combEval material[colourCount] = {};
    combEval squareScore[colourCount] = {};
    std::int16_t phase = 0;
};
positionSums computeSums(const pos &position);

/// Recomputes `material`, `squareScore` and `phase` from the bitboards.
void refreshSums(pos &position);

/// Recomputes the bitboards from `board`.
void rebuildBitboards(posHead &position);

/// Drops castling rights if king or rook is not in place, and the en passant square if no pawn can just
/// have made that double step. Updates the key.
void dropInvalidRights(pos &position);

/// Whether each side has one king and the side to move cannot capture the other's. Other positions
/// must not be searched, counted or evaluated.
bool isPlayable(const pos &position);

/// The position as FEN; `byFile` writes castling rights as file letters. `fullMove` is the number of
/// the next move.
std::string fenOf(const pos &position, bool byFile, int fullMove);

/// The board as a diagram of 17 lines.
std::string boardText(const pos &position);

} // namespace tarvonel
