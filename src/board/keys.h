// Zobrist keys: `key` of a whole position, `pawnKey` of pawns and kings.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

inline constexpr int castlingSets = 16;

struct zobristKeys
{
    std::uint64_t piece[pieceKinds][squareCount]; ///< by piece code - 2 and square
    std::uint64_t castling[castlingSets];         ///< by the set of rights; the empty set has a key too
    std::uint64_t enPassant[8];                   ///< by the file of a pawn that made a double step
    std::uint64_t side;                           ///< in the key when black is to move
};

/// The same values in every run.
extern const zobristKeys keys;

inline std::uint64_t pieceKey(int code, int square) { return keys.piece[code - firstPieceCode][square]; }

/// The full computations. Rights and en passant are those of `ply`, which is 0 but for the checks
/// of debug builds.
std::uint64_t computeKey(const pos &position, int ply = 0);
std::uint64_t computePawnKey(const pos &position);

} // namespace tarvonel
