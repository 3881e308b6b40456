// The compact position for probing tablebases, its moves, and its material signature. A move is made by
// writing a new record.
//
// A move list is ordered by piece: king, queens, rooks, bishops, knights, pawns; then by from-square,
// then by to-square, with an en passant capture among its pawn's targets. Promotions are in the order
// queen, knight, rook, bishop. Of equally good moves the first one is chosen.
//
// There are no castling rights: positions that have any must not be probed. Needs `initTables`.
#pragma once

#include <cstdint>

#include "board/bits.h"
#include "board/piece.h"

namespace tarvonel
{

struct tbPosition
{
    bitboard white, black;                                  ///< all pieces of a colour
    bitboard kings, queens, rooks, bishops, knights, pawns; ///< pieces of both colours by type
    std::uint8_t rule50;                                    ///< plies since a capture or pawn move
    std::uint8_t ep;                                        ///< the square a double step skipped, 0 if none
    std::uint8_t turn;                                      ///< 1 if white is to move, 0 if black
};

/// The set of one type, by pieceType.
inline constexpr bitboard tbPosition::*typeSets[pieceTypeCount] = {&tbPosition::pawns,   &tbPosition::knights,
                                                                   &tbPosition::bishops, &tbPosition::rooks,
                                                                   &tbPosition::queens,  &tbPosition::kings};

/// Pieces in the largest tablebases, kings included.
inline constexpr int maxTbPieces = 7;

inline constexpr int signatureTypes = 5; ///< pawn to queen
/// Summands of the signature: [second side of the name][type].
inline constexpr std::uint64_t signatureParts[2][signatureTypes] = {
    {0xEC0ADE190C0F6003, 0xD2FB81862830191F, 0xAADC1A2BE446234D, 0x985DEB9FC49333F9, 0xA3EC1ABC71E90863},
    {0xA24F0F571BB202E7, 0xBAEB854CD3259441, 0xD5A4C95928F2FBE3, 0xFD7866B439B94495, 0xD6E4E47D24962951}};

inline colour sideToMove(const tbPosition &position) { return position.turn != 0 ? white : black; }
inline bitboard piecesOf(const tbPosition &position, colour side)
{
    return side == white ? position.white : position.black;
}
inline bitboard allPieces(const tbPosition &position) { return position.white | position.black; }

/// Identifies the material, with `firstSide` as the first side in the name of a tablebase. 0 for bare
/// kings.
std::uint64_t materialSignature(const tbPosition &position, colour firstSide);

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

/// Enough for up to seven pieces: a king and five queens have at most 143 moves.
inline constexpr int tbListRoom = 192;

struct tbMoveList
{
    int count = 0;
    tbMove moves[tbListRoom];

    const tbMove *begin() const { return moves; }
    const tbMove *end() const { return moves + count; }
};

/// Whether this is a consistent position of at most `maxTbPieces` pieces in which the side not to move is
/// not in check.
bool tbValid(const tbPosition &position);

/// Pseudo-legal captures including en passant, all pseudo-legal moves, and all legal ones, of a
/// position of at most `maxTbPieces` pieces.
tbMoveList tbCaptures(const tbPosition &position);
tbMoveList tbMoves(const tbPosition &position);
tbMoveList tbLegalMoves(const tbPosition &position);

/// Writes the position after the move. False if it leaves the mover's king in check.
bool applyTbMove(tbPosition &next, const tbPosition &position, tbMove move);

bool isTbPawnMove(const tbPosition &position, tbMove move);
bool isTbEnPassant(const tbPosition &position, tbMove move);
/// En passant included.
bool isTbCapture(const tbPosition &position, tbMove move);

bool isTbCheck(const tbPosition &position);
bool isTbMate(const tbPosition &position);

} // namespace tarvonel
