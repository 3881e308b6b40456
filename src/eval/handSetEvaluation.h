// The two halves of the hand-set evaluation: pawn structure and king storms, which depend on pawns and
// kings only and are cached in the pawn table, and everything else about pieces and kings.
//
// Both functions exist for `shippedTerms` and `tunableTerms`. Threads: each worker has its own pawn
// table.
#pragma once

#include <cstdint>

#include "board/pos.h"
#include "eval/evalTerms.h"

namespace tarvonel
{

struct pawnEntry
{
    std::uint64_t pawnKey; ///< full key; its low bits are the index
    bitboard passed;       ///< passed pawns of both colours
    combEval score;        ///< white's terms minus black's
};

/// Entries of a pawn table, a power of two. A table starts zeroed and stays valid until the terms
/// change.
inline constexpr int pawnTableSize = 65536;

/// Returns the pawn table's entry for the position, computing it on a miss. Valid until the next call.
template <const evalTerms &Terms> const pawnEntry &evaluatePawns(const pos &position);

/// All terms that depend on the pieces, white's minus black's. `pawns` is the position's pawn entry.
/// Slightly asymmetric: the danger to white's king is computed before black's pawn mobility is known.
template <const evalTerms &Terms> combEval evaluatePieces(const pos &position, const pawnEntry &pawns);

} // namespace tarvonel
