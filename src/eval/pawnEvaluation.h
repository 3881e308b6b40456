// The evaluation of pawn structure and pawn storms, kept per constellation of pawns and kings.
//
// The constellation changes far less often than the position, so nearly every call is a hit in the
// pawn table. Threads: each worker has a table of its own.
#pragma once

#include <cstdint>

#include "board/pos.h"
#include "eval/evalTerms.h"

namespace tarvonel
{

struct pawnEntry
{
    std::uint64_t pawnKey; ///< the whole key; the index is its low bits
    bitboard passed;       ///< passed pawns of both colours
    combEval score;        ///< white's terms minus black's
};

/// Entries of a pawn table, a power of two. A table starts zeroed and need never be cleared while
/// the terms stay the same.
inline constexpr int pawnTableSize = 65536;

/// The entry of `pawnTable` for the position's pawns and kings, computed first if another stands
/// in its place. Valid until the next call. Exists for `shippedTerms` and `tunableTerms`.
template <const evalTerms &Terms> const pawnEntry &evaluatePawns(const pos &position);

} // namespace tarvonel
