// The main search: principal variation search with a transposition table. `alphaBeta`, at the end of the
// file, does everything before the moves, `searchMoves` the move loop. Their steps are numbered.

#include "search/search.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/makeMove.h"
#include "eval/evaluate.h"
#include "movegen/legality.h"
#include "search/history.h"
#include "search/movePicker.h"
#include "search/nodeEntry.h"
#include "search/reductions.h"
#include "search/score.h"
#include "search/searchLimits.h"
#include "search/see.h"
#include "search/tbSearch.h"
#include "search/transpositionTable.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

// Reverse futility pruning.
constexpr int reverseFutilityMaxDepth = 6;
constexpr int reverseFutilityMargin = 65; // per ply

// Razoring.
constexpr int razorMaxDepth = 3;
constexpr int razorMargin[2][razorMaxDepth + 1] = {{0, 90, 140, 200}, {0, 120, 190, 240}}; // by improving, depth

// Null move.
constexpr int nullMoveMinDepth = 4;
constexpr int nullMoveBaseReduction = 3;
constexpr int nullMoveEvalStep = 90; // above beta, per additional ply of reduction
constexpr int nullMoveMaxEvalReduction = 3;
constexpr int nullMoveVerifyDepth = 10;
constexpr int nullMoveVerifyMaxSearch = 3;

// ProbCut.
constexpr int probCutMinDepth = 5;
constexpr int probCutMargin = 110;
constexpr int probCutDepthLoss = 4;
constexpr int probCutMaxMoves = 11;

// Internal iterative reduction.
constexpr int internalReductionMinDepth = 8;
constexpr int internalReduction = 2;

// Pruning in the move loop.
constexpr int badCaptureMaxDepth = 6;
constexpr int badCaptureMargin = 110; // per ply
constexpr int historyPruningMaxDepth = 3;
constexpr int lateMoveMaxDepth = 7;
constexpr int lateMoveLimit[2][lateMoveMaxDepth + 1] = {{1, 2, 3, 5, 7, 10, 14, 19},
                                                        {2, 4, 6, 8, 11, 15, 20, 27}}; // by improving, depth

// Singular extension.
constexpr int singularMinDepth = 7;
constexpr int singularDepthSlack = 3; // how much shallower the TT entry may be
constexpr int singularMaxBadCaptures = 4;
constexpr int singularMaxOthers = 5;

bool isPvWindow(int alpha, int beta) { return beta > alpha + 1; }

/// Searches a child to `depth` plies, or by quiescence if that is not positive. Returns the score from the
/// parent's view.
int searchChild(int ply, int depth, int alpha, int beta, pos &position)
{
    if (depth <= 0)
        return -quiescence(ply + 1, 0, -beta, -alpha, position);
    return -alphaBeta(ply + 1, depth, -beta, -alpha, position);
}

/// Checks clock and node limit every `pollInterval` nodes. True if the search must stop.
bool pollLimits(pos &position)
{
    if (--position.pollCountdown >= 0)
        return false;
    position.pollCountdown = searchLimits.pollInterval;
    const bool isNodeLimitReached = searchLimits.hardNodes != 0 && nodesOf(position) >= searchLimits.hardNodes;
    const bool isTimed = !searchLimits.infinite && !pondering;
    if (!isNodeLimitReached && !(isTimed && std::cmp_greater_equal(measureElapsed(), searchLimits.maximumTime)))
        return false;
    stopSearch = true;
    return true;
}

/// A mate that needs a null move is unproved.
int capNullMoveScore(int score, int beta) { return score > mateThreshold ? beta : score; }

/// After a make: records the check state and the move played, and prefetches the TT cluster.
void recordMove(int ply, pos &position, moveCode move)
{
    prefetchNode(position);
    position.info[ply + 1].inCheck = isKingAttacked(position, position.sideToMove) ? 1 : 0;
    position.info[ply].playedMove = withExtra(move, movedPieceAfter(position, move));
}

/// The reduced search after a null move, verified at high depth. Returns the score of a cutoff.
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

/// Searches captures that may beat beta by a margin, first by quiescence, then at low depth. Returns the
/// score of a cutoff.
std::optional<int> tryProbCut(int ply, int depth, int beta, int rawEval, pos &position)
{
    posinfo &node = position.info[ply];
    const int raisedBeta = beta + probCutMargin;
    // SEE thresholds have 16 bits and this difference wraps: with beta near a mate score and a very low
    // evaluation, some moves pass that cannot gain enough. This is intended.
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
        recordMove(ply, position, move);
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

/// Whether a quiet move has a negative history in all three tables.
bool hasBadHistory(const pos &position, const continuationRows &rows, moveCode move)
{
    if (rows.one == nullptr || rows.two == nullptr || position.board[moveTo(move)] != emptySquare)
        return false;
    const int index = historyIndexOf(position, move);
    return position.quietHistory[index] < 0 && rows.one[index] < 0 && rows.two[index] < 0;
}

/// Singular search: whether a move other than the hash move reaches `bound` at half depth. Stops at the
/// first one that does, or after a number of failures. Restores the record of the ply.
bool anotherMoveReaches(int ply, int depth, int bound, pos &position)
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
        recordMove(ply, position, move);
        isReached = searchChild(ply, depth / 2 - 1, bound, bound + 1, position) >= bound;
        unmakeMove(position, ply, move);
        if (isReached || others >= singularMaxOthers)
            break;
    }
    node = savedNode;
    position.info[ply + 1] = savedChild;
    return isReached;
}

/// Whether the TT entry is reliable enough to test its move for singularity.
bool isSingularCandidate(int ply, const posinfo &node, const nodeContext &context, const moveCounts &counts)
{
    return node.stage == stageCaptureInit && ply > 0 && context.depth >= singularMinDepth && counts.searched == 1 &&
           context.entry.depth() >= context.depth - singularDepthSlack && context.entry.bound() != boundUpper &&
           !isMateScore(context.ttValue);
}

/// Searches a move other than the first: reduced with a null window; if that fails high, at full depth;
/// if the score is inside the window, with the full window.
int searchLateMove(int ply, int newDepth, int reduction, int alpha, int beta, pos &position)
{
    int score = searchChild(ply, newDepth - reduction, alpha, alpha + 1, position);
    if (newDepth > 0 && reduction != 0 && score > alpha)
        score = searchChild(ply, newDepth, alpha, alpha + 1, position);
    if (score > alpha && score < beta)
        score = searchChild(ply, newDepth, alpha, beta, position);
    return score;
}

/// A new best move at the root counts even if the iteration is not finished.
void recordRootMove(pos &position, int depth)
{
    ++position.rootChanges;
    position.rootDepth = static_cast<std::int16_t>(depth);
    position.rootDepthDone = 0;
}

/// Beta cutoff: stores it, and updates the histories if the move is quiet and not a check evasion.
int finishCutoff(int ply, pos &position, int depth, moveCode bestMove, int score)
{
    ttStore(position.key, bestMove, score, depth, boundLower, ply);
    if (position.info[ply].inCheck == 0 && position.board[moveTo(bestMove)] == emptySquare)
        updateHistories(ply, position, bestMove, depth);
    return score;
}

/// The end of a node without a cutoff. Mate and stalemate take precedence over the fifty-move rule.
int finishNode(int ply, pos &position, int depth, const moveCounts &counts, int bestScore, int alphaAtStart)
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

/// Steps 11 to 17: the move loop.
int searchMoves(int ply, int alpha, int beta, const nodeContext &context, pos &position)
{
    posinfo &node = position.info[ply];
    posinfo &child = position.info[ply + 1];
    const int depth = context.depth;
    const int alphaAtStart = alpha;
    const auto seeMargin = static_cast<std::int16_t>(-badCaptureMargin * depth);
    moveCounts counts;
    int bestScore = worstScore;
    bool skipQuiets = false;

    child.killers[0] = child.killers[1] = noMove;
    prepareMovePicker(ply, position);
    const checkSquares checks = findCheckSquares(position);
    for (moveCode move = nextMove(ply, position, skipQuiets); move != noMove;
         move = nextMove(ply, position, skipQuiets))
    {
        // 11. SEE pruning of bad captures: skip those that lose more material than the remaining depth
        // could regain.
        if (ply > 0 && node.stage == stageBadCaptures && depth <= badCaptureMaxDepth &&
            !seeAtLeast(move, seeMargin, position))
            continue;

        // 12. History pruning: near the leaves skip quiet moves with a negative history in all tables.
        if (ply > 0 && depth <= historyPruningMaxDepth && hasBadHistory(position, context.rows, move))
            continue;

        // Legality. The hash move is already validated, and evasions are generated legal.
        if (node.stage != stageCaptureInit && node.inCheck == 0 && !isMoveLegal(position, ply, move))
            continue;

        // 13. Late move pruning: moves are well ordered, so after enough of them skip the remaining
        // quiet moves that do not give check.
        const bool isCheck = givesCheck(position, ply, checks, move);
        if (ply > 0 && !isCheck)
        {
            if (!isPvWindow(alpha, beta) && node.inCheck == 0 && depth <= lateMoveMaxDepth &&
                node.stage >= stageKiller2 && node.stage != stageBadCaptures &&
                counts.late >= lateMoveLimit[context.improving ? 1 : 0][depth])
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

        // 14. Singular extension: extend the hash move if all others fail low against a bound slightly below
        // its TT value. If another move reaches a bound of at least beta, several moves would cause a
        // cutoff, so cut off at once (multi-cut).
        if (isSingularCandidate(ply, node, context, counts))
        {
            const int singularBound = context.ttValue - 5 * depth / 4;
            unmakeMove(position, ply, move);
            if (!anotherMoveReaches(ply, depth, singularBound, position))
                newDepth = depth;
            else if (singularBound >= beta)
                return singularBound;
            makeMove(position, ply, move);
        }

        // 15. Other extensions: checks that do not lose material, and quiet moves with an excellent
        // history.
        else if (isExtended(ply, position, context, counts, move, isCheck))
            newDepth = depth;

        if (node.stage != stageBadCaptures)
            ++counts.late;
        if (newDepth == depth && child.captured == emptySquare)
            ++counts.extendedQuiets;

        // 16. Principal variation search with late move reductions: later moves only need a proof, first at
        // reduced depth, that they do not beat alpha.
        int score = 0;
        if (counts.searched == 1)
            score = searchChild(ply, newDepth, alpha, beta, position);
        else
        {
            const int reduction = reductionOf(ply, position, context, counts, move, isPvWindow(alpha, beta));
            score = searchLateMove(ply, newDepth, reduction, alpha, beta, position);
        }
        unmakeMove(position, ply, move);
        if (stopSearch)
            return scoreDraw;

        // 17. Best move, alpha and cutoff.
        if (score <= bestScore)
            continue;
        bestScore = score;
        if (score <= alpha)
            continue;
        alpha = score;
        node.pvMove = node.playedMove;
        if (ply == 0)
            recordRootMove(position, depth);
        if (score >= beta)
            return finishCutoff(ply, position, depth, node.pvMove, score);
    }
    return finishNode(ply, position, depth, counts, bestScore, alphaAtStart);
}

} // namespace

int alphaBeta(int ply, int depth, int alpha, int beta, pos &position)
{
    if (ply < 0)
        __builtin_unreachable(); // lets calls inlined into their parent drop the tests for the root

    // 1. Limits: the value of a stopped search is not used.
    posinfo &node = position.info[ply];
    const std::uint64_t nodes = position.searchNodes.add(1);
    position.selDepth = static_cast<std::uint8_t>(std::max<int>(position.selDepth, ply));
    if (pollLimits(position) || stopSearch)
        return scoreDraw;

    // 2. Draws, mate distance pruning, maximum ply.
    if (ply > 0)
        if (const std::optional<int> score = decideAtEntry(ply, nodes, alpha, beta, position))
            return *score;
    const bool isPv = isPvWindow(alpha, beta);
    position.info[ply + 1].noNullMove = node.noNullMove;
    node.hashMove = noMove;

    // 3. Static evaluation, except in check. It comes before the TT probe to hide the latency of the TT
    // cluster, which was prefetched when the move was made.
    const int rawEval = node.inCheck != 0 ? noScore : evaluate(ply, position);

    // 4. Transposition table: an entry of sufficient depth whose bound decides a null window is as good
    // as a search. Not right after a null move.
    const ttEntry entry = ttProbe(position.key);
    const int ttValue = scoreFromTable(entry.value(), ply);
    if (entry.isHit())
    {
        if (!isPv && entry.depth() >= depth && ply > 0 && position.info[ply - 1].playedMove != noMove &&
            ttCutsOff(entry, ttValue, alpha, beta))
            return ttValue;
        node.hashMove = ply == 0 ? node.pvMove : entry.move();
    }

    // 5. Tablebases, right after a capture or pawn move: a draw is exact; a win or loss is a bound, because
    // the distance to mate is unknown.
    if (ply > 0 && isTbNode(ply, depth, position))
        if (const std::optional<int> score = probeForCutoff(ply, depth, alpha, beta, position))
            return *score;

    nodeContext context{depth, entry, ttValue, true, continuationOf(ply, position)};
    node.staticEval = static_cast<std::int16_t>(rawEval);
    if (node.inCheck != 0)
        return searchMoves(ply, alpha, beta, context, position);
    const int nodeEval = refineEvaluation(rawEval, entry, ttValue);
    context.improving = ply < 2 || rawEval >= position.info[ply - 2].staticEval;

    if (!isPv)
    {
        const bool hasNonPawns = hasPieces(position, position.sideToMove);

        // 6. Reverse futility pruning: the evaluation is so far above beta that the few remaining plies
        // are unlikely to lose the difference. Not with pawns only, where zugzwang is common.
        if (depth <= reverseFutilityMaxDepth && !isMateScore(nodeEval) &&
            nodeEval >= beta + reverseFutilityMargin * depth && hasNonPawns)
            return nodeEval;

        // 7. Razoring: the evaluation is so far below alpha that only captures can raise it. If
        // quiescence confirms the fail low, return its score.
        if (depth <= razorMaxDepth && nodeEval + razorMargin[context.improving ? 1 : 0][depth] < alpha)
            if (const int score = quiescence(ply, 0, alpha, beta, position); score < alpha)
                return score;

        // 8. Null move pruning: if the opponent can move twice in a row and a reduced search still fails
        // high, some move would as well. Not with pawns only, where zugzwang is common.
        if (depth >= nullMoveMinDepth && ply >= 2 && node.noNullMove == 0 &&
            position.info[ply - 2].playedMove != noMove && nodeEval >= beta && hasNonPawns)
        {
            if (const std::optional<int> score = tryNullMove(ply, depth, beta, nodeEval, position))
                return *score;
        }

        // 9. ProbCut: a good capture that beats beta by a margin at reduced depth will very likely beat
        // beta at full depth.
        if (depth >= probCutMinDepth && !isMateScore(nodeEval))
            if (const std::optional<int> score = tryProbCut(ply, depth, beta, rawEval, position))
                return *score;
    }

    // 10. Internal iterative reduction: without a hash move the move ordering is poor, so a PV node is first
    // searched at lower depth.
    if (node.hashMove == noMove && depth >= internalReductionMinDepth && isPv)
        context.depth -= internalReduction;

    return searchMoves(ply, alpha, beta, context, position);
}

} // namespace tarvonel
