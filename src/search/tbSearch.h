// Syzygy tablebases in the search. A root in the tablebases needs no search; nodes right after a capture
// or pawn move may be cut off.
#pragma once

#include <optional>

#include "board/engineOptions.h"
#include "board/pos.h"
#include "tablebase/tbRegistry.h"

namespace tarvonel
{

/// The result of a probe in the tree, for the side to move.
enum tbOutcome : int
{
    tbFailed = -1,
    tbLoss = 0,
    tbBlessedLoss = 1, ///< a loss, but drawn by the fifty-move rule
    tbDraw = 2,
    tbCursedWin = 3, ///< a win, but drawn by the fifty-move rule
    tbWin = 4,
};

/// Whether to probe a node: no castling rights, a fifty-move count of 0 and few enough pieces. With as many
/// pieces as the largest tablebase only from `SyzygyProbeDepth` on.
inline bool isTbNode(int ply, int depth, const pos &position)
{
    const int cardinality = static_cast<int>(tableCardinality.load());
    if (cardinality == 0 || position.fiftyCount != 0 || position.info[ply].castling != 0)
        return false;
    const int pieces = popCount(occupancy(position));
    return pieces < cardinality || (pieces == cardinality && depth >= engineOptions.syzygyProbeDepth);
}

/// The `tbOutcome` of the position at `ply`.
int probeInTree(int ply, const pos &position);

/// Probes a node. A value that decides it with this window is stored in the transposition table and
/// returned.
std::optional<int> probeForCutoff(int ply, int depth, int alpha, int beta, pos &position);

/// Whether to probe the root.
bool isTbRoot(const pos &position);

/// The tablebase move at the root, or `noMove` if it must be searched. Reports the move and sets
/// `rootScore`.
moveCode probeAtRoot(pos &position);

} // namespace tarvonel
