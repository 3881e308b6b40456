#include "search/movePicker.h"

#include <cstddef>
#include <cstdint>

#include "board/makeMove.h"
#include "movegen/legality.h"
#include "search/history.h"
#include "search/see.h"

namespace tarvonel
{

namespace
{

constexpr int badCaptureMark = 255;
constexpr int specialMoveSlots = 3; // for two killers and a counter move after the captures
constexpr int pawnCaptureScore = 250;
constexpr int losingEvasionMalus = 100;

// Every fourth thread does not sort the captures at the root, so that threads search different trees.
constexpr int threadVariety = 4;
constexpr int unsortedVariety = 3;

bool isPlayableHashMove(int ply, pos &position)
{
    const moveCode move = position.info[ply].hashMove;
    return isMoveValid(position, ply, move) && leavesKingSafe(position, ply, move);
}

/// Lowers the scores of evasions with negative SEE. Pawn captures of the checker and king moves need no SEE.
void demoteLosingEvasions(posinfo &node, const pos &position)
{
    for (moveCode *move = node.listStart; move < node.listEnd; ++move)
    {
        if (moveExtra(*move) == pawnCaptureScore || isKing(position.board[moveFrom(*move)]))
            continue;
        if (!seeAtLeast(*move, 0, position))
            *move = withExtra(*move, moveExtra(*move) - losingEvasionMalus);
    }
}

moveCode nextEvasion(posinfo &node)
{
    while (node.listCursor < node.listEnd)
    {
        swapHighestToFront(node.listCursor, node.listEnd);
        if (!sameMove(*node.listCursor, node.hashMove))
            return *node.listCursor;
        ++node.listCursor;
    }
    return noMove;
}

moveCode nextGoodCapture(int ply, pos &position)
{
    posinfo &node = position.info[ply];
    const bool isSorted = ply != 0 || position.threadIndex % threadVariety != unsortedVariety;
    for (; node.listCursor < node.listEnd; ++node.listCursor)
    {
        if (isSorted)
            swapHighestToFront(node.listCursor, node.listEnd);
        const moveCode move = *node.listCursor;
        if (sameMove(move, node.hashMove))
            continue;
        if (seeAtLeast(move, 0, position))
            return move;
        *node.listCursor = withExtra(move, badCaptureMark);
    }
    return noMove;
}

/// Appends a move that does not come from the generators.
moveCode appendMove(posinfo &node, moveCode move)
{
    *node.listCursor = move;
    ++node.listEnd;
    return move;
}

moveCode nextKiller(int ply, pos &position, int which)
{
    posinfo &node = position.info[ply];
    const moveCode killer = node.killers[which];
    if (killer == noMove || sameMove(killer, node.hashMove) || !isMoveValid(position, ply, killer))
        return noMove;
    return appendMove(node, killer);
}

moveCode nextCounterMove(int ply, pos &position)
{
    if (ply == 0)
        return noMove;
    posinfo &node = position.info[ply];
    const moveCode previous = position.info[ply - 1].playedMove;
    if (moveExtra(previous) >= firstPieceCode)
        node.nodeCounterMove = position.counterMoves[historyIndex(moveExtra(previous), moveTo(previous))];
    const moveCode reply = node.nodeCounterMove;
    if (reply == noMove || sameMove(reply, node.hashMove) || sameMove(reply, node.killers[0]) ||
        sameMove(reply, node.killers[1]) || !isMoveValid(position, ply, reply))
        return noMove;
    return appendMove(node, reply);
}

moveCode nextBadCapture(posinfo &node)
{
    for (; node.listCursor < node.listEnd; ++node.listCursor)
        if (moveExtra(*node.listCursor) == badCaptureMark)
            return *node.listCursor;
    return noMove;
}

/// Whether the move belongs to an earlier stage.
bool isSpecialMove(const posinfo &node, moveCode move)
{
    return sameMove(move, node.hashMove) || sameMove(move, node.killers[0]) || sameMove(move, node.killers[1]) ||
           sameMove(move, node.nodeCounterMove);
}

/// Generates the quiet moves except those of earlier stages. Sets their extra bytes to the moving piece, so
/// that scoring does not read the board.
void generateRemainingQuiets(int ply, pos &position)
{
    posinfo &node = position.info[ply];
    node.listCursor = node.quietStart;
    node.quietsScoredAt = 0;
    generateQuiets(ply, node.quietStart, position);
    for (moveCode *move = node.quietStart; move < node.listEnd;)
    {
        if (isSpecialMove(node, *move))
            *move = *--node.listEnd;
        else
        {
            *move = withExtra(*move, position.board[moveFrom(*move)]);
            ++move;
        }
    }
    position.info[ply + 1].listStart = node.listEnd;
}

/// Scores the quiet moves from the cursor on by the sum of their histories.
void scoreQuiets(int ply, pos &position, std::int32_t *score)
{
    // A row of zeros in place of a missing one saves two branches in the loop.
    static constexpr std::int16_t zeroRow[historyRows] = {};
    const continuationRows rows = continuationOf(ply, position);
    const std::int16_t *const one = rows.one != nullptr ? rows.one : zeroRow;
    const std::int16_t *const two = rows.two != nullptr ? rows.two : zeroRow;

    posinfo &node = position.info[ply];
    for (const moveCode *move = node.listCursor; move < node.listEnd; ++move)
    {
        const int index = historyIndex(moveExtra(*move), moveTo(*move));
        *score++ = position.quietHistory[index] + one[index] + two[index];
    }
    node.quietsScoredAt = position.historyUpdates;
}

/// The first of equals. std::max_element loads the maximum in each step, which costs 3 % of the search.
std::ptrdiff_t indexOfHighest(const std::int32_t *scores, std::ptrdiff_t count)
{
    std::ptrdiff_t best = 0;
    std::int32_t bestScore = scores[0];
    for (std::ptrdiff_t i = 1; i < count; ++i)
        if (scores[i] > bestScore)
        {
            best = i;
            bestScore = scores[i];
        }
    return best;
}

moveCode nextQuiet(int ply, pos &position, bool skipQuiets)
{
    posinfo &node = position.info[ply];
    if (node.listCursor >= node.listEnd)
        return noMove;
    if (skipQuiets)
        return *node.listCursor;

    // Rescore only if a history has changed since the last move: near the leaves most have not.
    std::int32_t *const scores = position.quietScores + (node.listCursor - position.info[0].listStart);
    if (node.quietsScoredAt != position.historyUpdates)
        scoreQuiets(ply, position, scores);
    const auto best = indexOfHighest(scores, node.listEnd - node.listCursor);
    std::swap(scores[0], scores[best]);
    std::swap(node.listCursor[0], node.listCursor[best]);
    return *node.listCursor;
}

/// Generates the captures, or in check all evasions, at the cursor. Returns whether they are evasions.
bool startCaptures(int ply, pos &position)
{
    posinfo &node = position.info[ply];
    node.nodeCounterMove = noMove;
    generateCaptures(ply, node.listCursor, position);
    if (node.stage == stageEvasions)
    {
        demoteLosingEvasions(node, position);
        return true;
    }
    node.stage = stageGoodCaptures;
    node.captureEnd = node.listEnd;
    position.info[ply + 1].listStart = node.listEnd + specialMoveSlots;
    return false;
}

} // namespace

void restartMoveList(int ply, pos &position)
{
    posinfo &node = position.info[ply];
    node.listEnd = node.listStart;
    node.listCursor = node.listStart - 1;
    position.info[ply + 1].listStart = node.listStart;
}

void prepareMovePicker(int ply, pos &position)
{
    restartMoveList(ply, position);
    position.info[ply].stage = isPlayableHashMove(ply, position) ? stageHashMove : stageCaptureInit;
}

moveCode nextMove(int ply, pos &position, bool skipQuiets)
{
    posinfo &node = position.info[ply];
    ++node.listCursor;
    if (node.listCursor > node.listEnd)
        return noMove;

    moveCode move = noMove;
    switch (node.stage)
    {
    case stageHashMove:
        --node.listCursor;
        node.stage = stageCaptureInit;
        return node.hashMove;

    case stageCaptureInit:
        if (startCaptures(ply, position))
            return nextEvasion(node);
        [[fallthrough]];
    case stageGoodCaptures:
        move = nextGoodCapture(ply, position);
        if (move != noMove)
            return move;
        node.stage = stageKiller1;
        [[fallthrough]];
    case stageKiller1:
        node.stage = stageKiller2;
        move = nextKiller(ply, position, 0);
        if (move != noMove)
            return move;
        [[fallthrough]];
    case stageKiller2:
        node.stage = stageCounterMove;
        move = nextKiller(ply, position, 1);
        if (move != noMove)
            return move;
        [[fallthrough]];
    case stageCounterMove:
        node.stage = stageBadCaptureInit;
        move = nextCounterMove(ply, position);
        if (move != noMove)
            return move;
        [[fallthrough]];
    case stageBadCaptureInit:
        node.quietStart = node.listEnd;
        node.listCursor = node.listStart;
        node.listEnd = node.captureEnd;
        node.stage = stageBadCaptures;
        [[fallthrough]];
    case stageBadCaptures:
        move = nextBadCapture(node);
        if (move != noMove)
            return move;
        node.stage = stageQuietInit;
        [[fallthrough]];
    case stageQuietInit:
        generateRemainingQuiets(ply, position);
        node.stage = stageQuiets;
        [[fallthrough]];
    case stageQuiets:
        return nextQuiet(ply, position, skipQuiets);

    default:
        return nextEvasion(node);
    }
}

void prepareProbCut(int ply, pos &position)
{
    prepareMovePicker(ply, position);
    posinfo &node = position.info[ply];
    if (node.stage != stageHashMove)
        return;
    *node.listStart = node.hashMove;
    node.listEnd = node.listStart + 1;
    position.info[ply + 1].listStart = node.listEnd;
}

bool nextProbCutMove(int ply, moveCode *slot, pos &position, std::int16_t threshold)
{
    posinfo &node = position.info[ply];
    if (node.stage == stageHashMove)
    {
        node.stage = stageCaptureInit;
        const moveCode move = *slot;
        if (position.board[moveTo(move)] == emptySquare && !isPromotion(move))
            return false;
        if (!seeAtLeast(move, threshold, position))
            return false;
        makeMove(position, ply, move);
        return true;
    }
    if (node.stage == stageCaptureInit)
    {
        generateCaptures(ply, slot, position);
        node.stage = stageGoodCaptures;
    }
    if (slot == node.listEnd)
        return false;
    const moveCode move = *slot;
    if (sameMove(move, node.hashMove) || !seeAtLeast(move, threshold, position) || !isMoveLegal(position, ply, move))
        return false;
    makeMove(position, ply, move);
    return true;
}

} // namespace tarvonel
