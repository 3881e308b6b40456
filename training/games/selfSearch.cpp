#include "games/selfSearch.h"

#include <algorithm>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "eval/evaluate.h"
#include "movegen/moveChecks.h"
#include "search/alphaBeta.h"
#include "search/quiescence.h"
#include "search/score.h"
#include "search/searchLimits.h"
#include "search/searchReporter.h"
#include "search/transpositionTable.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

constexpr int pollInterval = 127; ///< nodes between looks at the hard budget
constexpr int openWindowDepth = 5;
constexpr int windowWidth = 20;
constexpr int widening = 4; ///< factor of the window's half-width after each failure
constexpr int deepest = 60;
constexpr int forcedDepth = 3; ///< deep enough where there is only one move

std::uint64_t hardNodes = 0;

std::uint64_t nodesOf(const pos &position) { return position.searchNodes + position.quiescenceNodes; }

bool isHardBudgetSpent(const pos &position) { return nodesOf(position) >= hardNodes; }

/// Takes over the position as the root of a search. Returns the number of legal moves.
int prepareRoot(const pos &start)
{
    theBoss().adopt(start);
    pos &position = theBoss().position;
    position.searchNodes = 0;
    position.quiescenceNodes = 0;
    position.pollCountdown = pollInterval;
    posinfo &root = position.info[0];
    root.killers[0] = root.killers[1] = noMove;
    root.noNullMove = 0;
    position.info[1].noNullMove = 0;
    buildLegalList(0, root.listStart, position);
    root.pvMove = root.listStart == root.listEnd ? noMove : *root.listStart & moveIdentityMask;
    position.rootDepth = 0;
    position.rootDepthDone = 1;
    position.rootScore = noScore;
    position.pvLast = 0;
    return static_cast<int>(root.listEnd - root.listStart);
}

/// One iteration, its window opened until the result lies within. False if it was cut off.
bool searchDepth(pos &position, int depth, int &score)
{
    position.selDepth = 0;
    position.rootChanges = 0;
    int width = windowWidth;
    int alpha = depth > openWindowDepth ? std::max(score - width, -infiniteScore) : -infiniteScore;
    int beta = depth > openWindowDepth ? std::min(score + width, infiniteScore) : infiniteScore;
    for (;;)
    {
        const int result = alphaBeta(0, depth, alpha, beta, position);
        if (stopSearch)
        {
            return false;
        }
        if (result > alpha && result < beta)
        {
            score = result;
            return true;
        }
        width *= widening;
        (result <= alpha ? alpha : beta) =
            std::clamp(result <= alpha ? result - width : result + width, -infiniteScore, infiniteScore);
    }
}

/// Quiescence value after the move, from the view of the side that makes it.
int valueAfter(gameBoard &board, moveCode move)
{
    pos &position = board.position;
    makeMove(position, 0, move);
    position.info[0].playedMove = withExtra(move, movedPieceAfter(position, move));
    position.info[1].listStart = board.firstMove();
    position.info[1].inCheck = isKingAttacked(position, position.sideToMove) ? 1 : 0;
    const int value = -quiescence(1, 0, -infiniteScore, infiniteScore, position);
    unmakeMove(position, 0, move);
    return value;
}

} // namespace

void startSelfSearch(int hashMegabytes)
{
    ttResize(hashMegabytes);
    rebuildWorkerPool(1);
    reporter = {};
    reporter.isBudgetSpent = isHardBudgetSpent;
    searchLimits.infinite = true;
    searchLimits.pollInterval = pollInterval;
}

void endSelfSearch()
{
    rebuildWorkerPool(0);
    ttRelease();
    reporter = {};
    searchLimits.infinite = false;
}

void forgetSearches()
{
    ttClear();
    clearWorkerHistory();
}

searchedMove searchMove(const pos &start, const nodeBudget &budget)
{
    stopSearch = false;
    hardNodes = budget.hard;
    ttAdvanceAge();
    const int moveCount = prepareRoot(start);
    pos &position = theBoss().position;
    searchedMove found;
    for (int depth = 1; depth <= (moveCount == 1 ? forcedDepth : deepest); ++depth)
    {
        if (!searchDepth(position, depth, found.score))
        {
            break;
        }
        found.depth = depth;
        if (nodesOf(position) >= budget.soft || isMateScore(found.score))
        {
            break;
        }
    }
    found.move = position.info[0].pvMove & moveIdentityMask;
    found.nodes = nodesOf(position);
    return found;
}

quietValue quiescenceValue(gameBoard &board)
{
    theBoss().tables.attachTo(board.position);
    const int standPat = evaluate(0, board.position);
    board.position.info[1].listStart = board.firstMove();
    return {quiescence(0, 0, -infiniteScore, infiniteScore, board.position), standPat};
}

moveCode sampledMove(gameBoard &board, const std::vector<moveCode> &moves, int tries, randomSource &random)
{
    theBoss().tables.attachTo(board.position);
    moveCode best = noMove;
    int bestValue = -infiniteScore - 1;
    const auto look = [&](moveCode move)
    {
        const int value = valueAfter(board, move);
        if (value > bestValue)
        {
            best = move;
            bestValue = value;
        }
    };
    for (int i = 0; i < tries; ++i)
    {
        look(randomMove(moves, random));
    }
    for (const moveCode move : moves)
    {
        if (!isCastling(move) && board.position.board[moveTo(move)] != emptySquare)
        {
            look(move & moveIdentityMask);
        }
    }
    return best;
}

} // namespace tarvonel
