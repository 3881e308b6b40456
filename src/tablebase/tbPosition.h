// The endgame tables' own compact position, and the number that names its material.
//
// A position with castling rights is not a table position; callers do not ask about one.
#pragma once

#include <cstdint>

#include "board/bits.h"
#include "board/piece.h"

namespace tarvonel
{

struct tbPosition
{
    bitboard white, black;                                  ///< all men of a colour
    bitboard kings, queens, rooks, bishops, knights, pawns; ///< men of both colours by type
    std::uint8_t rule50;                                    ///< plies since a capture or pawn move
    std::uint8_t ep;                                        ///< the square a double step skipped, 0 if none
    std::uint8_t turn;                                      ///< 1 if white is to move, 0 if black
};

/// The set of one type, by pieceType.
inline constexpr bitboard tbPosition::*typeSets[pieceTypeCount] = {&tbPosition::pawns,   &tbPosition::knights,
                                                                   &tbPosition::bishops, &tbPosition::rooks,
                                                                   &tbPosition::queens,  &tbPosition::kings};

/// The largest table there is, kings included.
inline constexpr int maxTablePieces = 7;

inline constexpr int signatureTypes = 5; ///< pawn to queen
/// What one man adds to the signature: [second side of the name][type].
inline constexpr std::uint64_t signatureParts[2][signatureTypes] = {
    {0xEC0ADE190C0F6003, 0xD2FB81862830191F, 0xAADC1A2BE446234D, 0x985DEB9FC49333F9, 0xA3EC1ABC71E90863},
    {0xA24F0F571BB202E7, 0xBAEB854CD3259441, 0xD5A4C95928F2FBE3, 0xFD7866B439B94495, 0xD6E4E47D24962951}};

inline colour sideToMove(const tbPosition &position) { return position.turn != 0 ? white : black; }
inline bitboard menOf(const tbPosition &position, colour side)
{
    return side == white ? position.white : position.black;
}
inline bitboard allMen(const tbPosition &position) { return position.white | position.black; }

/// Identifies the material, `firstSide` standing for the side that a table's name gives first.
/// 0 for kings alone.
std::uint64_t materialSignature(const tbPosition &position, colour firstSide);

} // namespace tarvonel
