// From FEN text to a position and back, and the diagram of a board.
#pragma once

#include <string>

#include "board/pos.h"

namespace tarvonel
{

inline constexpr const char *startPositionFen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

/// Sets up `position` at ply 0. Reads standard FEN and both ways of writing Chess960 castling
/// rights (KQkq with the outermost rooks, and file letters); missing last fields are completed.
/// Returns an empty text, or one line that says what is wrong; `position` is then untouched.
/// Positions in which the side not to move is in check are accepted.
std::string setupPosition(const std::string &fen, pos &position);

/// `setupPosition` for positions in which moves are to be made: refuses one in which the side not
/// to move is in check too, and drops unfounded rights. A refused `position` is of no use.
std::string setupPlayablePosition(const std::string &fen, pos &position);

/// What `pos` keeps as running sums.
struct positionSums
{
    combEval material[colourCount] = {};
    combEval squareScore[colourCount] = {};
    std::int16_t phase = 0;
};
positionSums computeSums(const pos &position);

/// Recomputes `material`, `squareScore` and `phase` from the bitboards.
void refreshSums(pos &position);

/// Makes the bitboards agree with `board`.
void rebuildBitboards(pos &position);

/// Drops castling rights that no king and rook stand behind, and an en passant square without the
/// pawn that made the step; the keys follow.
void dropInvalidRights(pos &position);

/// Whether each side has its king and the side to move could not take the other's: only then may
/// a position be searched, counted or evaluated.
bool isPlayable(const pos &position);

/// The position as FEN; castling rights as letters of the rooks' files where `byFile` is set.
/// `fullMove` is the number of the coming move.
std::string fenOf(const pos &position, bool byFile, int fullMove);

/// The board as nine lines of ruling and eight of squares, each ending in a newline.
std::string boardText(const pos &position);

} // namespace tarvonel
