// Zobrist hashing: `key` covers the whole position, `pawnKey` the pawns and kings.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

inline constexpr int castlingSets = 16;

struct zobristKeys
{
    std::uint64_t piece[pieceKinds][squareCount]; ///< by piece code - 2 and square
    std::uint64_t castling[castlingSets];         ///< by set of rights; the empty set has a key as well
    std::uint64_t enPassant[8];                   ///< by file of the pawn that made a double step
    std::uint64_t side;                           ///< included when black is to move
};

extern const zobristKeys keys; ///< the same values in every run

inline std::uint64_t pieceKey(int code, int square) { return keys.piece[code - firstPieceCode][square]; }

/// Full computation; the key includes the castling rights and en passant square of `ply`.
std::uint64_t computeKey(const pos &position, int ply = 0);
std::uint64_t computePawnKey(const pos &position);

} // namespace tarvonel
