// The depth at which a move is searched: extensions and late move reductions.
#pragma once

#include <array>
#include <cstdint>

#include "board/pos.h"
#include "search/history.h"
#include "search/transpositionTable.h"

namespace tarvonel
{

/// Properties of a node, known before its first move.
struct nodeContext
{
    int depth; ///< after the internal iterative reduction
    ttEntry entry;
    int ttValue;
    bool improving; ///< the static evaluation is not below that of two plies ago
    continuationRows rows;
};

/// Counters of the move loop.
struct moveCounts
{
    int searched = 0;       ///< moves not pruned
    int late = 0;           ///< the same without bad captures: the move number
    int quiets = 0;         ///< quiet moves searched
    int extendedQuiets = 0; ///< quiet moves extended
};

inline constexpr int reductionDepths = 128;
inline constexpr int reductionMoves = 256;
/// [depth][move number]: late move reduction before adjustments, in plies. Grows with the square root of
/// depth times move number; the first two moves are not reduced.
inline constexpr auto reductionTable = []
{
    constexpr int fullDepthMoves = 2;
    constexpr int divisor = 9;
    std::array<std::array<std::int8_t, reductionMoves>, reductionDepths> table{};
    for (int depth = 0; depth < reductionDepths; ++depth)
    {
        table[depth][fullDepthMoves + 1] = 1;
        int root = 0; // rounded down; it only grows along the row
        for (int move = fullDepthMoves + 2; move < reductionMoves; ++move)
        {
            while ((root + 1) * (root + 1) <= (move - fullDepthMoves) * depth / divisor)
                ++root;
            table[depth][move] = static_cast<std::int8_t>(root);
        }
    }
    return table;
}();

/// Whether a move that has been made is extended by one ply: a check with nonnegative SEE, or a quiet
/// move with an excellent history.
bool isExtended(int ply, const pos &position, const nodeContext &context, const moveCounts &counts, moveCode move,
                bool isCheck);

/// The reduction, in plies, of a move that has been made and is not the first; -1 is an extension.
int reductionOf(int ply, const pos &position, const nodeContext &context, const moveCounts &counts, moveCode move,
                bool isPv);

} // namespace tarvonel
