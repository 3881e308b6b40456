#include "search/quiescence.h"

#include <algorithm>
#include <optional>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "eval/evaluate.h"
#include "movegen/generators.h"
#include "movegen/legality.h"
#include "search/bestToFront.h"
#include "search/exchange.h"
#include "search/nodeEntry.h"

namespace tarvonel
{

namespace
{

constexpr int lastFullDepth = -4;     // below it only recaptures on the last square are tried
constexpr int lastEvasionDepth = -13; // below it not even a check is answered by anything else

/// How the list of a node is walked.
enum class captureOrder
{
    evasions,   ///< best first; all legal
    exchanges,  ///< best first among those that do not lose the exchange
    recaptures, ///< best first, untested
};

/// Swaps the move to try next to the cursor; false steps over the one that stands there.
bool pickAtCursor(captureOrder order, int ply, moveCode *cursor, const moveCode *end, pos &position)
{
    if (order == captureOrder::exchanges)
    {
        // Who takes the lead has passed the test; who keeps it has not been asked.
        const auto holds = [&position](moveCode move) { return seeAtLeast(move, 0, position); };
        if (!bestToFront(cursor, end, moveExtra, holds) && !holds(*cursor))
            return false;
    }
    else
        highestToFront(cursor, end);
    if (order == captureOrder::evasions)
        return true;
    return order == captureOrder::exchanges ? isMoveLegal(position, ply, *cursor)
                                            : isMoveLegalSlow(position, ply, *cursor);
}

captureOrder generateFor(int ply, int qDepth, pos &position)
{
    const posinfo &node = position.info[ply];
    if (qDepth >= lastFullDepth)
        generateQuiescenceMoves(ply, node.listStart, position);
    else
        generateRecaptures(ply, node.listStart, position);
    if (node.inCheck != 0)
        return captureOrder::evasions;
    return qDepth >= lastFullDepth ? captureOrder::exchanges : captureOrder::recaptures;
}

} // namespace

int quiescence(int ply, int qDepth, int alpha, int beta, pos &position)
{
    const std::uint64_t nodes = position.quiescenceNodes.add(1);
    if (const std::optional<int> score = decideAtEntry(ply, nodes, alpha, beta, position))
        return *score;

    // The evaluation, where the side to move may stand pat: while it is worked out, the table's line is
    // on its way.
    posinfo &node = position.info[ply];
    const bool mayStandPat = node.inCheck == 0 || qDepth < lastEvasionDepth;
    const int evaluation = mayStandPat ? evaluate(ply, position) : noScore;

    // Table: any depth will do.
    const ttEntry entry = ttProbe(position.key);
    const int tableValue = scoreFromTable(entry.value(), ply);
    if (doesTableCut(entry, tableValue, alpha, beta))
        return tableValue;

    // Stand pat: no capture is forced, so the evaluation bounds the score from below.
    int bestScore = ply - scoreMate;
    if (mayStandPat)
    {
        node.inCheck = 0;
        bestScore = refineEvaluation(evaluation, entry, tableValue);
        if (bestScore >= beta)
            return bestScore;
        alpha = std::max(alpha, bestScore);
    }

    const captureOrder order = generateFor(ply, qDepth, position);
    posinfo &child = position.info[ply + 1];
    const colour mover = position.sideToMove;
    const int opponentKing = kingSquare(position, opponent(mover));
    bool isFirst = true;
    for (moveCode *cursor = node.listStart; cursor < node.listEnd; ++cursor)
    {
        if (!pickAtCursor(order, ply, cursor, node.listEnd, position))
            continue;
        const moveCode move = *cursor;
        makeMove(position, ply, move);
        prefetchNode(position);
        node.playedMove = withExtra(move, 0);
        child.inCheck = isAttacked(position, opponentKing, mover, occupancy(position)) ? 1 : 0;

        int score = 0;
        if (isFirst)
            score = -quiescence(ply + 1, qDepth - 1, -beta, -alpha, position);
        else
        {
            score = -quiescence(ply + 1, qDepth - 1, -alpha - 1, -alpha, position);
            if (score > alpha && score < beta)
                score = -quiescence(ply + 1, qDepth - 1, -beta, -alpha, position);
        }
        isFirst = false;
        unmakeMove(position, ply, move);

        if (score > bestScore)
        {
            bestScore = score;
            alpha = std::max(alpha, score);
            if (score >= beta)
                return score;
        }
    }
    return bestScore;
}

} // namespace tarvonel
