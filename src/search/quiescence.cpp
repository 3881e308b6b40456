#include "search/quiescence.h"

#include <algorithm>
#include <utility>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "eval/evaluate.h"
#include "movegen/generators.h"
#include "movegen/moveChecks.h"
#include "search/drawTests.h"
#include "search/exchange.h"
#include "search/score.h"
#include "search/transpositionTable.h"

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

bool holdsExchange(moveCode move, const pos &position)
{
    return isExemptFromSee(move) || seeAtLeast(move, 0, position);
}

moveCode *highestFrom(moveCode *cursor, const moveCode *end)
{
    moveCode *best = cursor;
    for (moveCode *move = cursor + 1; move < end; ++move)
        if (moveExtra(*move) > moveExtra(*best))
            best = move;
    return best;
}

/// The best move from the cursor on that holds the exchange. A candidate that is not the one at
/// the cursor has passed the test; the one at the cursor has not been asked.
moveCode *highestHoldingFrom(moveCode *cursor, const moveCode *end, const pos &position)
{
    moveCode *best = cursor;
    for (moveCode *move = cursor + 1; move < end; ++move)
        if (moveExtra(*move) > moveExtra(*best) && holdsExchange(*move, position))
            best = move;
    return best;
}

/// Swaps the move to try next to the cursor; false steps over the one that stands there.
bool pickAtCursor(captureOrder order, int ply, moveCode *cursor, const moveCode *end, pos &position)
{
    if (order == captureOrder::exchanges)
    {
        moveCode *best = highestHoldingFrom(cursor, end, position);
        if (best == cursor && !holdsExchange(*cursor, position))
            return false;
        std::swap(*best, *cursor);
        return isMoveLegal(position, ply, *cursor);
    }
    std::swap(*highestFrom(cursor, end), *cursor);
    return order == captureOrder::evasions || isMoveLegalUnaided(position, ply, *cursor);
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

/// The static evaluation, or what the table knows better.
int standPatScore(int ply, pos &position, ttEntry entry, int tableValue)
{
    if (entry.bound() == boundExact)
        return tableValue;
    const int standPat = evaluate(ply, position);
    const bool isBetterKnown = (entry.bound() == boundLower && standPat < tableValue) ||
                               (entry.bound() == boundUpper && standPat > tableValue);
    return isBetterKnown ? tableValue : standPat;
}

} // namespace

int quiescence(int ply, int qDepth, int alpha, int beta, pos &position)
{
    const std::uint64_t nodes = position.quiescenceNodes.add(1);
    if (isRepetition(ply, position))
        return repetitionScore(nodes);
    if (isMaterialDraw(position))
        return scoreDraw;
    clampMateDistance(ply, alpha, beta);
    if (alpha >= beta)
        return alpha;
    if (isStackEnd(ply, position))
        return evaluate(ply, position);

    // Table: any depth will do.
    const ttEntry entry = ttProbe(position.key);
    const int tableValue = scoreFromTable(entry.value(), ply);
    if (entry.isHit())
    {
        if ((entry.bound() != boundUpper && tableValue >= beta) ||
            (entry.bound() != boundLower && tableValue <= alpha) || entry.bound() == boundExact)
            return tableValue;
    }

    // Stand pat: no capture is forced, so the evaluation bounds the score from below.
    posinfo &node = position.info[ply];
    if (qDepth < lastEvasionDepth)
        node.inCheck = 0;
    int bestScore = ply - scoreMate;
    if (node.inCheck == 0)
    {
        bestScore = standPatScore(ply, position, entry, tableValue);
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
        ttPrefetch(position.key);
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
