#include "search/search.h"

#include <algorithm>
#include <optional>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "eval/evaluate.h"
#include "movegen/generators.h"
#include "movegen/legality.h"
#include "search/movePicker.h"
#include "search/nodeEntry.h"
#include "search/see.h"

namespace tarvonel
{

namespace
{

constexpr int minCaptureDepth = -4;  // below this, only recaptures
constexpr int minEvasionDepth = -13; // below this, only recaptures in check as well

/// How the moves of a node are selected.
enum class captureOrder
{
    evasions,   ///< best first; all are legal
    captures,   ///< best first among those with nonnegative SEE
    recaptures, ///< best first, without SEE
};

/// Swaps the next move to the cursor. False if it must be skipped.
bool pickNext(captureOrder order, int ply, moveCode *cursor, const moveCode *end, pos &position)
{
    if (order == captureOrder::captures)
    {
        // A move that was swapped to the front has passed SEE, one that was there before has not.
        const auto losesNothing = [&position](moveCode move) { return seeAtLeast(move, 0, position); };
        if (!swapBestToFront(cursor, end, moveExtra, losesNothing) && !losesNothing(*cursor))
            return false;
    }
    else
        swapHighestToFront(cursor, end);
    if (order == captureOrder::evasions)
        return true;
    return order == captureOrder::captures ? isMoveLegal(position, ply, *cursor)
                                           : isMoveLegalSlow(position, ply, *cursor);
}

captureOrder generateFor(int ply, int qDepth, pos &position)
{
    const posinfo &node = position.info[ply];
    if (qDepth >= minCaptureDepth)
        generateQuiescenceMoves(ply, node.listStart, position);
    else
        generateRecaptures(ply, node.listStart, position);
    if (node.inCheck != 0)
        return captureOrder::evasions;
    return qDepth >= minCaptureDepth ? captureOrder::captures : captureOrder::recaptures;
}

} // namespace

int quiescence(int ply, int qDepth, int alpha, int beta, pos &position)
{
    // 1. Draws, mate distance pruning, maximum ply.
    const std::uint64_t nodes = position.quiescenceNodes.add(1);
    if (const std::optional<int> score = decideAtEntry(ply, nodes, alpha, beta, position))
        return *score;

    // 2. Static evaluation if the side to move may stand pat. It comes before the TT probe to hide the latency
    // of the prefetched cluster.
    posinfo &node = position.info[ply];
    const bool mayStandPat = node.inCheck == 0 || qDepth < minEvasionDepth;
    const int evaluation = mayStandPat ? evaluate(ply, position) : noScore;

    // 3. Transposition table: an entry of any depth is at least as good as quiescence.
    const ttEntry entry = ttProbe(position.key);
    const int ttValue = scoreFromTable(entry.value(), ply);
    if (ttCutsOff(entry, ttValue, alpha, beta))
        return ttValue;

    // 4. Stand pat: the side to move does not have to capture, so the evaluation is a lower bound.
    int bestScore = ply - scoreMate;
    if (mayStandPat)
    {
        node.inCheck = 0;
        bestScore = refineEvaluation(evaluation, entry, ttValue);
        if (bestScore >= beta)
            return bestScore;
        alpha = std::max(alpha, bestScore);
    }

    // 5. Search captures with nonnegative SEE, deep in the tree only recaptures, in check all evasions. As in
    // any principal variation search, moves after the first are tried with a null window.
    const captureOrder order = generateFor(ply, qDepth, position);
    posinfo &child = position.info[ply + 1];
    const colour mover = position.sideToMove;
    const int opponentKing = kingSquare(position, opponent(mover));
    bool isFirst = true;
    for (moveCode *cursor = node.listStart; cursor < node.listEnd; ++cursor)
    {
        if (!pickNext(order, ply, cursor, node.listEnd, position))
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
