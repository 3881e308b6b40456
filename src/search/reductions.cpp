#include "search/reductions.h"

#include <algorithm>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "search/see.h"

namespace tarvonel
{

namespace
{

// Extension of quiet moves that are good in both continuation histories.
constexpr int historyExtensionMinimum = 4096;
constexpr int historyExtensionMaxQuiets = 4;

// Late move reductions.
constexpr int reductionMinDepth = 3;
constexpr int reductionMaxExtendedQuiets = 3;
constexpr int reductionHistoryOffset = 5120;
constexpr int reductionHistoryStep = 9216;
constexpr int reductionMinHistory = -2;
constexpr int reductionMaxHistory = 1;

/// Whether the pawn that has just moved to the square is passed.
bool isPassedAfter(const pos &position, colour mover, int square)
{
    return (passedMask[mover][square] & position.bitboards[whitePawn + opponent(mover)]) == 0;
}

} // namespace

bool isExtended(int ply, const pos &position, const nodeContext &context, const moveCounts &counts, moveCode move,
                bool isCheck)
{
    const int captured = position.info[ply + 1].captured;
    if (isCheck)
        return isIgnoredBySee(move) || seeNotNegativeAfter(move, captured, position);
    if (captured != emptySquare || counts.quiets > historyExtensionMaxQuiets || context.rows.one == nullptr ||
        context.rows.two == nullptr)
        return false;
    const int index = historyIndex(movedPieceAfter(position, move), moveTo(move));
    return context.rows.one[index] > historyExtensionMinimum && context.rows.two[index] > historyExtensionMinimum;
}

int reductionOf(int ply, const pos &position, const nodeContext &context, const moveCounts &counts, moveCode move,
                bool isPv)
{
    if (context.depth < reductionMinDepth || position.info[ply + 1].captured != emptySquare)
        return 0;
    int reduction =
        reductionTable[std::min(context.depth, reductionDepths - 1)][std::min(counts.late, reductionMoves - 1)];
    if (!context.improving)
        ++reduction;
    if (counts.extendedQuiets > reductionMaxExtendedQuiets)
        ++reduction;

    const int to = moveTo(move);
    const int index = historyIndex(movedPieceAfter(position, move), to);
    const int history = (historySum(position, context.rows, index) - reductionHistoryOffset) / reductionHistoryStep;
    reduction = std::max(reduction - std::clamp(history, reductionMinHistory, reductionMaxHistory), 0);
    if (reduction > 0 && isPv)
        --reduction;

    // Reduce less: pawns one step from promotion, and killer moves of passed pawns.
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
