// The endgame tables in the search: one probe at the root can settle the whole search, and nodes
// right after a capture or pawn move may be cut by their value.
#pragma once

#include <optional>

#include "board/engineOptions.h"
#include "board/pos.h"
#include "tablebase/tableRegistry.h"

namespace tarvonel
{

/// What a probe in the tree finds, for the side to move.
enum tableOutcome : int
{
    tableFailed = -1,
    tableLoss = 0,
    tableBlessedLoss = 1, ///< a loss that the fifty-move rule saves
    tableDraw = 2,
    tableCursedWin = 3, ///< a win that it spoils
    tableWin = 4,
};

/// Whether a node is to be probed: no castling rights, fresh from a capture or pawn move, and few
/// enough men; with exactly as many as the largest table only from the option's depth on.
inline bool isTableNode(int ply, int depth, const pos &position)
{
    const int cardinality = static_cast<int>(tableCardinality.load());
    if (cardinality == 0 || position.fiftyCount != 0 || position.info[ply].castling != 0)
        return false;
    const int men = popCount(occupancy(position));
    return men < cardinality || (men == cardinality && depth >= engineOptions.syzygyProbeDepth);
}

/// The outcome of the position at `ply`, as a `tableOutcome`.
int probeInTree(int ply, const pos &position);

/// Probes a table node. A value that decides the node in this window is stored in the
/// transposition table and returned; otherwise the node is searched.
std::optional<int> probeForCutoff(int ply, int depth, int alpha, int beta, pos &position);

/// Whether the root may be probed.
bool isTableRoot(const pos &position);

/// The move that the tables give at the root, announced through the reporter, its score in
/// `rootScore`; `noMove` if the search has to run.
moveCode probeAtRoot(pos &position);

} // namespace tarvonel
