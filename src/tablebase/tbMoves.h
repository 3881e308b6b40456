// Moves on the endgame tables' own position: nothing is made in place, each move writes a new record.
//
// Lists run kind by kind, king, queens, rooks, bishops, knights, pawns; within a kind from the lowest
// from-square, then the lowest to-square, an en passant capture among its pawn's targets. Promotions
// come as queen, knight, rook, bishop. The order decides between equal moves.
//
// Needs the attack tables of `initTables`.
#pragma once

#include <cstdint>

#include "tablebase/tbPosition.h"

namespace tarvonel
{

/// to in bits 0 to 5, from in bits 6 to 11, promotion in bits 12 to 14.
using tbMove = std::uint16_t;

enum tbPromotion : int
{
    noPromotion,
    toQueen,
    toRook,
    toBishop,
    toKnight
};

constexpr int tbTo(tbMove move) { return move & 63; }
constexpr int tbFrom(tbMove move) { return (move >> 6) & 63; }
constexpr int tbPromotionOf(tbMove move) { return (move >> 12) & 7; }
constexpr tbMove makeTbMove(int from, int to, int promotion = noPromotion)
{
    return static_cast<tbMove>(to | from << 6 | promotion << 12);
}

/// Room for the moves of any position of up to seven men: five queens and a king have at most 143.
inline constexpr int tbListRoom = 192;

struct tbMoveList
{
    int count = 0;
    tbMove moves[tbListRoom];

    const tbMove *begin() const { return moves; }
    const tbMove *end() const { return moves + count; }
};

/// Whether the record is a sane position of at most `maxTablePieces` men, in which the side not to
/// move is not in check.
bool tbValid(const tbPosition &position);

/// Pseudo-legal captures, en passant included, and all pseudo-legal moves. At most `maxTablePieces`
/// men.
void tbCaptures(const tbPosition &position, tbMoveList &list);
void tbMoves(const tbPosition &position, tbMoveList &list);
void tbLegalMoves(const tbPosition &position, tbMoveList &list);

/// Writes the position after the move; true if the mover's king is not left in check.
bool applyTbMove(tbPosition &next, const tbPosition &position, tbMove move);

bool isTbPawnMove(const tbPosition &position, tbMove move);
bool isTbEnPassant(const tbPosition &position, tbMove move);
/// En passant included.
bool isTbCapture(const tbPosition &position, tbMove move);

bool isTbCheck(const tbPosition &position);
bool isTbMate(const tbPosition &position);

} // namespace tarvonel
