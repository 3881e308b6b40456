#include "search/moveDepth.h"

#include <algorithm>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "search/exchange.h"

namespace tarvonel
{

namespace
{

// Extension of quiet moves that have proved themselves after both earlier moves.
constexpr int historyExtensionMinimum = 4096;
constexpr int historyExtensionMaxQuiets = 4;

// Late move reductions.
constexpr int reductionMinDepth = 3;
constexpr int reductionMaxExtendedQuiets = 3;
constexpr int reductionHistoryOffset = 5120;
constexpr int reductionHistoryStep = 9216;
constexpr int reductionMinHistory = -2;
constexpr int reductionMaxHistory = 1;

/// Whether a pawn that has just moved has no enemy pawn ahead on its own and the adjacent files.
bool isPassedAfter(const pos &position, colour mover, int square)
{
    return (passedMask[mover][square] & position.bitboards[whitePawn + opponent(mover)]) == 0;
}

} // namespace

bool isExtended(int ply, const pos &position, const nodeFacts &facts, const loopCounts &counts, moveCode move,
                bool isCheck)
{
    const int captured = position.info[ply + 1].captured;
    if (isCheck)
        return isExemptFromSee(move) || seeHoldsAfter(move, captured, position);
    if (captured != emptySquare || counts.quiets > historyExtensionMaxQuiets || facts.rows.one == nullptr ||
        facts.rows.two == nullptr)
        return false;
    const int index = historyIndex(movedPieceAfter(position, move), moveTo(move));
    return facts.rows.one[index] > historyExtensionMinimum && facts.rows.two[index] > historyExtensionMinimum;
}

int reductionOf(int ply, const pos &position, const nodeFacts &facts, const loopCounts &counts, moveCode move,
                bool isPv)
{
    if (facts.depth < reductionMinDepth || position.info[ply + 1].captured != emptySquare)
        return 0;
    int reduction =
        reductionTable[std::min(facts.depth, reductionDepths - 1)][std::min(counts.late, reductionMoves - 1)];
    if (!facts.improving)
        ++reduction;
    if (counts.extendedQuiets > reductionMaxExtendedQuiets)
        ++reduction;

    const int to = moveTo(move);
    const int index = historyIndex(movedPieceAfter(position, move), to);
    const int history = (historySum(position, facts.rows, index) - reductionHistoryOffset) / reductionHistoryStep;
    reduction = std::max(reduction - std::clamp(history, reductionMinHistory, reductionMaxHistory), 0);
    if (reduction > 0 && isPv)
        --reduction;

    // Pawns about to promote, just started, or freed by a killer move get a closer look.
    if (isPawn(position.board[to]))
    {
        const colour mover = opponent(position.sideToMove);
        const posinfo &node = position.info[ply];
        if (reduction != 0 && (rankOf(to) == rank2 || rankOf(to) == rank7))
            --reduction;
        if ((sameMove(move, node.killers[0]) || sameMove(move, node.killers[1])) && isPassedAfter(position, mover, to))
            --reduction;
    }
    return reduction;
}

} // namespace tarvonel
