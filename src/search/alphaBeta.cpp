// One node reads from top to bottom: what may end it before it is searched, what prunes it as a
// whole, then the loop over its moves. The margins and depths of each step stand above it.

#include "search/alphaBeta.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/makeMove.h"
#include "eval/evaluate.h"
#include "movegen/legality.h"
#include "search/checkTest.h"
#include "search/exchange.h"
#include "search/history.h"
#include "search/moveDepth.h"
#include "search/movePicker.h"
#include "search/nodeEntry.h"
#include "search/quiescence.h"
#include "search/score.h"
#include "search/searchLimits.h"
#include "search/searchReporter.h"
#include "search/tablebaseProbe.h"
#include "search/transpositionTable.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

// Reverse futility: the evaluation beats beta by more than the depth could lose.
constexpr int reverseFutilityMaxDepth = 6;
constexpr int reverseFutilityMargin = 65; // per ply

// Razoring: the evaluation is so far below alpha that only captures could help.
constexpr int razorMaxDepth = 3;
constexpr int razorMargin[2][razorMaxDepth + 1] = {{0, 90, 140, 200}, {0, 120, 190, 240}}; // by improving, depth

// Null move.
constexpr int nullMoveMinDepth = 4;
constexpr int nullMoveBaseReduction = 3;
constexpr int nullMoveEvalStep = 90; // a further ply of reduction for each
constexpr int nullMoveMaxEvalReduction = 3;
constexpr int nullMoveVerifyDepth = 10;
constexpr int nullMoveVerifyMaxSearch = 3;

// ProbCut: a capture that beats beta by a margin at low depth will do so at full depth.
constexpr int probCutMinDepth = 5;
constexpr int probCutMargin = 110;
constexpr int probCutDepthLoss = 4;
constexpr int probCutMaxMoves = 11;

// Internal reduction: a node that ought to have a table move and has none is not worth full depth.
constexpr int internalReductionMinDepth = 8;
constexpr int internalReduction = 2;

// Pruning in the move loop.
constexpr int badCaptureMaxDepth = 6;
constexpr int badCaptureMargin = 110; // per ply
constexpr int historyPruningMaxDepth = 3;
constexpr int lateMoveMaxDepth = 7;
constexpr int lateMoveLimit[2][lateMoveMaxDepth + 1] = {{1, 2, 3, 5, 7, 10, 14, 19},
                                                        {2, 4, 6, 8, 11, 15, 20, 27}}; // by improving, depth

// Singular extension: no other move comes near the table move.
constexpr int singularMinDepth = 7;
constexpr int singularDepthSlack = 3; // how much shallower the table's entry may be
constexpr int singularMaxBadCaptures = 4;
constexpr int singularMaxOthers = 5;

bool isOpenWindow(int alpha, int beta) { return beta > alpha + 1; }

/// Searches a child of depth `depth`, in quiescence when nothing is left, from the view of the
/// parent.
int searchChild(int ply, int depth, int alpha, int beta, pos &position)
{
    if (depth <= 0)
        return -quiescence(ply + 1, 0, -beta, -alpha, position);
    return -alphaBeta(ply + 1, depth, -beta, -alpha, position);
}

/// Looks at clock and node budget once in a while. True when the search is over.
bool pollLimits(pos &position)
{
    if (--position.pollCountdown >= 0)
        return false;
    position.pollCountdown = searchLimits.pollInterval;
    const bool isBudgetSpent = searchLimits.hardNodes != 0 && nodesOf(position) >= searchLimits.hardNodes;
    const bool isTimed = !searchLimits.infinite && !pondering;
    if (!isBudgetSpent && !(isTimed && std::cmp_greater_equal(measureElapsed(), searchLimits.maximumTime)))
        return false;
    stopSearch = true;
    return true;
}

/// A mate found by passing is not to be trusted.
int capNullMoveScore(int score, int beta) { return score > mateThreshold ? beta : score; }

/// Writes down check state and played move after a make, and sends for the table's line.
void noteMadeMove(int ply, pos &position, moveCode move)
{
    prefetchNode(position);
    position.info[ply + 1].inCheck = isKingAttacked(position, position.sideToMove) ? 1 : 0;
    position.info[ply].playedMove = withExtra(move, movedPieceAfter(position, move));
}

/// The reduced search after passing, verified at high depth. A score of at least beta ends the node.
std::optional<int> tryNullMove(int ply, int depth, int beta, int nodeEval, pos &position)
{
    const int evalReduction = std::min(nullMoveMaxEvalReduction, (nodeEval - beta) / nullMoveEvalStep);
    const int nullDepth = depth - depth / 4 - evalReduction - nullMoveBaseReduction;

    const std::uint64_t savedKey = makeNullMove(position, ply);
    ttPrefetch(position.key);
    const int score = searchChild(ply, nullDepth, beta - 1, beta, position);
    unmakeNullMove(position, savedKey);
    if (score < beta)
        return std::nullopt;
    if (depth < nullMoveVerifyDepth)
        return capNullMoveScore(score, beta);

    const int verifyDepth = std::min(nullDepth, nullMoveVerifyMaxSearch);
    const int verified = verifyDepth <= 0 ? quiescence(ply, 0, beta - 1, beta, position)
                                          : alphaBeta(ply, verifyDepth, beta - 1, beta, position);
    if (verified >= beta)
        return capNullMoveScore(verified, beta);
    return std::nullopt;
}

/// Searches the captures that may beat beta by a margin: first in quiescence, then to low depth.
std::optional<int> tryProbCut(int ply, int depth, int beta, int rawEval, pos &position)
{
    posinfo &node = position.info[ply];
    const int raisedBeta = beta + probCutMargin;
    // Exchanges are reckoned in 16 bits, and this difference wraps to them: with beta near the mate
    // scores and the side far behind, moves pass that could never gain so much. It is meant.
    const auto gainNeeded = static_cast<std::int16_t>(std::max(raisedBeta - rawEval, 0));
    prepareProbCut(ply, position);

    int made = 0;
    for (moveCode *slot = node.listStart; made < probCutMaxMoves; ++slot)
    {
        if (!nextProbCutMove(ply, slot, position, gainNeeded))
        {
            if (slot < node.listEnd)
                continue;
            break;
        }
        ++made;
        const moveCode move = *slot;
        noteMadeMove(ply, position, move);
        int score = searchChild(ply, 0, raisedBeta - 1, raisedBeta, position);
        if (score >= raisedBeta)
            score = searchChild(ply, depth - probCutDepthLoss, raisedBeta - 1, raisedBeta, position);
        unmakeMove(position, ply, move);
        if (stopSearch)
            return scoreDraw;
        if (score >= raisedBeta)
        {
            ttStore(position.key, node.hashMove != noMove ? node.hashMove : node.playedMove, score,
                    depth - probCutDepthLoss + 1, boundLower, ply);
            return score;
        }
    }
    return std::nullopt;
}

/// Bad history in all three tables, and no piece captured.
bool isHopelessByHistory(const pos &position, const continuationRows &rows, moveCode move)
{
    if (rows.one == nullptr || rows.two == nullptr || position.board[moveTo(move)] != emptySquare)
        return false;
    const int index = historyIndexOf(position, move);
    return position.quietHistory[index] < 0 && rows.one[index] < 0 && rows.two[index] < 0;
}

/// Whether another move than the table move reaches `bound`: they are tried one after the other at
/// half depth until one does or enough have failed. Leaves the ply's record as it was found.
bool doesOtherMoveReach(int ply, int depth, int bound, pos &position)
{
    posinfo &node = position.info[ply];
    const posinfo savedNode = node;
    const posinfo savedChild = position.info[ply + 1];
    restartMoveList(ply, position);
    position.info[ply + 1].noNullMove = 1;

    bool isReached = false;
    int others = 0;
    int badCaptures = 0;
    for (moveCode move = nextMove(ply, position, false); move != noMove; move = nextMove(ply, position, false))
    {
        if (sameMove(move, savedNode.hashMove))
            continue;
        if (node.stage == stageBadCaptures && badCaptures >= singularMaxBadCaptures)
            continue;
        if (node.inCheck == 0 && !isMoveLegal(position, ply, move))
            continue;
        makeMove(position, ply, move);
        if (node.stage == stageBadCaptures)
            ++badCaptures;
        else if (node.stage >= stageKiller1)
            ++others;
        noteMadeMove(ply, position, move);
        isReached = searchChild(ply, depth / 2 - 1, bound, bound + 1, position) >= bound;
        unmakeMove(position, ply, move);
        if (isReached || others >= singularMaxOthers)
            break;
    }
    node = savedNode;
    position.info[ply + 1] = savedChild;
    return isReached;
}

/// Whether the table move is trusted enough to ask if it is the only good one.
bool isSingularCandidate(int ply, const posinfo &node, const nodeFacts &facts, const loopCounts &counts)
{
    return node.stage == stageCaptureInit && ply > 0 && facts.depth >= singularMinDepth && counts.searched == 1 &&
           facts.entry.depth() >= facts.depth - singularDepthSlack && facts.entry.bound() != boundUpper &&
           !isMateScore(facts.tableValue);
}

/// A move that is not the first: at reduced depth, then at full depth, then with the open window, as
/// long as it holds what it promises.
int searchLateMove(int ply, int newDepth, int reduction, int alpha, int beta, pos &position)
{
    int score = searchChild(ply, newDepth - reduction, alpha, alpha + 1, position);
    if (newDepth > 0 && reduction != 0 && score > alpha)
        score = searchChild(ply, newDepth, alpha, alpha + 1, position);
    if (score > alpha && score < beta)
        score = searchChild(ply, newDepth, alpha, beta, position);
    return score;
}

/// A new best move at the root is worth telling at once, whatever becomes of the iteration.
void noteRootChange(pos &position, int depth)
{
    ++position.rootChanges;
    position.rootDepth = static_cast<std::int16_t>(depth);
    position.rootDepthDone = 0;
}

/// Cut-off: stores it and learns from it, unless the move captured or answered a check.
int closeWithCutoff(int ply, pos &position, int depth, moveCode bestMove, int score)
{
    ttStore(position.key, bestMove, score, depth, boundLower, ply);
    if (position.info[ply].inCheck == 0 && position.board[moveTo(bestMove)] == emptySquare)
        updateHistories(ply, position, bestMove, depth);
    return score;
}

/// No move cut off. Mate and stalemate come before the fifty-move rule.
int closeWithoutCutoff(int ply, pos &position, int depth, const loopCounts &counts, int bestScore, int alphaAtStart)
{
    constexpr int fiftyMoveLimit = 100;
    const posinfo &node = position.info[ply];
    if (counts.searched == 0)
        return node.inCheck != 0 ? ply - scoreMate : scoreDraw;
    if (position.fiftyCount >= fiftyMoveLimit)
        return scoreDraw;
    if (bestScore <= alphaAtStart)
        ttStore(position.key, node.hashMove, bestScore, depth, boundUpper, ply);
    else
        ttStore(position.key, node.pvMove, bestScore, depth, boundExact, ply);
    return bestScore;
}

/// The loop over the moves of a node.
int searchMoves(int ply, int alpha, int beta, const nodeFacts &facts, pos &position)
{
    posinfo &node = position.info[ply];
    posinfo &child = position.info[ply + 1];
    const int depth = facts.depth;
    const int alphaAtStart = alpha;
    const auto seeMargin = static_cast<std::int16_t>(-badCaptureMargin * depth);
    loopCounts counts;
    int bestScore = worstScore;
    bool skipQuiets = false;

    child.killers[0] = child.killers[1] = noMove;
    prepareMovePicker(ply, position);
    const checkSquares checks = findCheckSquares(position);
    for (moveCode move = nextMove(ply, position, skipQuiets); move != noMove;
         move = nextMove(ply, position, skipQuiets))
    {
        // Bad captures: not when they lose more than the depth could bring back.
        if (ply > 0 && node.stage == stageBadCaptures && depth <= badCaptureMaxDepth &&
            !seeAtLeast(move, seeMargin, position))
            continue;

        // History: near the leaves a quiet move that has failed in every respect is not tried.
        if (ply > 0 && depth <= historyPruningMaxDepth && isHopelessByHistory(position, facts.rows, move))
            continue;

        // Legality: the table move has been tested, evasions are generated legal.
        if (node.stage != stageCaptureInit && node.inCheck == 0 && !isMoveLegal(position, ply, move))
            continue;

        // Late moves: after enough quiet moves the rest is dropped, but for checks.
        const bool isCheck = givesCheck(position, ply, checks, move);
        if (ply > 0 && !isCheck)
        {
            if (!isOpenWindow(alpha, beta) && node.inCheck == 0 && depth <= lateMoveMaxDepth &&
                node.stage >= stageKiller2 && node.stage != stageBadCaptures &&
                counts.late >= lateMoveLimit[facts.improving ? 1 : 0][depth])
                skipQuiets = true;
            if (skipQuiets)
                continue;
        }

        makeMove(position, ply, move);
        prefetchNode(position);
        child.inCheck = isCheck ? 1 : 0;
        node.playedMove = withExtra(move, movedPieceAfter(position, move));
        assert(isCheck == isKingAttacked(position, position.sideToMove));

        ++counts.searched;
        if (child.captured == emptySquare)
            ++counts.quiets;
        int newDepth = depth - 1;

        // Singular extension: the table move is extended if no other move comes near it. If one
        // does, and even the lowered bound beats beta, several moves cut off here.
        if (isSingularCandidate(ply, node, facts, counts))
        {
            const int singularBound = facts.tableValue - 5 * depth / 4;
            unmakeMove(position, ply, move);
            if (!doesOtherMoveReach(ply, depth, singularBound, position))
                newDepth = depth;
            else if (singularBound >= beta)
                return singularBound;
            makeMove(position, ply, move);
        }
        else if (isExtended(ply, position, facts, counts, move, isCheck))
            newDepth = depth;

        if (node.stage != stageBadCaptures)
            ++counts.late;
        if (newDepth == depth && child.captured == emptySquare)
            ++counts.extendedQuiets;

        int score = 0;
        if (counts.searched == 1)
            score = searchChild(ply, newDepth, alpha, beta, position);
        else
        {
            const int reduction = reductionOf(ply, position, facts, counts, move, isOpenWindow(alpha, beta));
            score = searchLateMove(ply, newDepth, reduction, alpha, beta, position);
        }
        unmakeMove(position, ply, move);
        if (stopSearch)
            return scoreDraw;

        if (score <= bestScore)
            continue;
        bestScore = score;
        if (score <= alpha)
            continue;
        alpha = score;
        node.pvMove = node.playedMove;
        if (ply == 0)
            noteRootChange(position, depth);
        if (score >= beta)
            return closeWithCutoff(ply, position, depth, node.pvMove, score);
    }
    return closeWithoutCutoff(ply, position, depth, counts, bestScore, alphaAtStart);
}

} // namespace

int alphaBeta(int ply, int depth, int alpha, int beta, pos &position)
{
    if (ply < 0)
        __builtin_unreachable(); // so that a call inlined into its parent drops the tests for the root
    posinfo &node = position.info[ply];
    const std::uint64_t nodes = position.searchNodes.add(1);
    position.selDepth = static_cast<std::uint8_t>(std::max<int>(position.selDepth, ply));
    if (pollLimits(position) || stopSearch)
        return scoreDraw;

    // Draws, mates that come too late, and the end of the stack.
    if (ply > 0)
        if (const std::optional<int> score = decideAtEntry(ply, nodes, alpha, beta, position))
            return *score;
    const bool isPv = isOpenWindow(alpha, beta);
    position.info[ply + 1].noNullMove = node.noNullMove;
    node.hashMove = noMove;

    // Static evaluation: while it is worked out, the table's line is on its way. In check it would
    // mean nothing.
    const int rawEval = node.inCheck != 0 ? noScore : evaluate(ply, position);

    // Transposition table: an entry of sufficient depth decides a node with a closed window, but
    // not straight after a null move.
    const ttEntry entry = ttProbe(position.key);
    const int tableValue = scoreFromTable(entry.value(), ply);
    if (entry.isHit())
    {
        if (!isPv && entry.depth() >= depth && ply > 0 && position.info[ply - 1].playedMove != noMove &&
            doesTableCut(entry, tableValue, alpha, beta))
            return tableValue;
        node.hashMove = ply == 0 ? node.pvMove : entry.move();
    }

    // Endgame tables, right after a capture or pawn move.
    if (ply > 0 && isTableNode(ply, depth, position))
        if (const std::optional<int> score = probeForCutoff(ply, depth, alpha, beta, position))
            return *score;

    nodeFacts facts{depth, entry, tableValue, true, continuationOf(ply, position)};
    node.staticEval = static_cast<std::int16_t>(rawEval);
    if (node.inCheck != 0)
        return searchMoves(ply, alpha, beta, facts, position);
    const int nodeEval = refineEvaluation(rawEval, entry, tableValue);
    facts.improving = ply < 2 || rawEval >= position.info[ply - 2].staticEval;

    if (!isPv)
    {
        const bool mayPass = hasPieces(position, position.sideToMove);

        // Reverse futility: so far above beta that the remaining depth will not change it.
        if (depth <= reverseFutilityMaxDepth && !isMateScore(nodeEval) &&
            nodeEval >= beta + reverseFutilityMargin * depth && mayPass)
            return nodeEval;

        // Razoring: so far below alpha that quiescence has the last word unless it objects.
        if (depth <= razorMaxDepth && nodeEval + razorMargin[facts.improving ? 1 : 0][depth] < alpha)
            if (const int score = quiescence(ply, 0, alpha, beta, position); score < alpha)
                return score;

        // Null move: let the opponent move twice. If even the reduced search of that fails high, a
        // real move would too. Not with king and pawns alone, where having to move is what loses.
        if (depth >= nullMoveMinDepth && ply >= 2 && node.noNullMove == 0 &&
            position.info[ply - 2].playedMove != noMove && nodeEval >= beta && mayPass)
        {
            if (const std::optional<int> score = tryNullMove(ply, depth, beta, nodeEval, position))
                return *score;
        }

        // ProbCut: a capture that clearly beats beta at low depth.
        if (depth >= probCutMinDepth && !isMateScore(nodeEval))
            if (const std::optional<int> score = tryProbCut(ply, depth, beta, rawEval, position))
                return *score;
    }

    // Internal reduction: without a table move this part of the tree was not thought important.
    if (node.hashMove == noMove && depth >= internalReductionMinDepth && isPv)
        facts.depth -= internalReduction;

    return searchMoves(ply, alpha, beta, facts, position);
}

} // namespace tarvonel
