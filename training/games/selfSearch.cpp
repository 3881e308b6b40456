#include "games/selfSearch.h"

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "eval/evaluate.h"
#include "movegen/legality.h"
#include "search/score.h"
#include "search/search.h"
#include "search/transpositionTable.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

/// Quiescence value after the move, from the view of the side that makes it.
int valueAfter(searchBoard &board, moveCode move)
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

void forgetSearches()
{
    ttClear();
    clearWorkerHistory();
}

quietValue quiescenceValue(const pos &root)
{
    searchBoard &board = theBoss();
    board.adopt(root);
    const int standPat = evaluate(0, board.position);
    return {quiescence(0, 0, -infiniteScore, infiniteScore, board.position), standPat};
}

std::vector<moveCode> principalVariation(const pos &root, const searchLimitValues &limits)
{
    const searchResult result = runSearch(root, limits);
    std::vector<moveCode> moves;
    if (result.depth == 0)
        return moves;
    pos &position = theBoss().position;
    walkPrincipalVariation(position, result.depth);
    for (int ply = 0; ply <= position.pvLast; ++ply)
        moves.push_back(position.info[ply].pvMove & moveIdentityMask);
    return moves;
}

moveCode sampledMove(const pos &root, const std::vector<moveCode> &moves, int tries, randomSource &random)
{
    searchBoard &board = theBoss();
    board.adopt(root);
    moveCode best = noMove;
    int bestValue = -infiniteScore - 1;
    const auto compare = [&](moveCode move)
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
        compare(randomMove(moves, random));
    }
    for (const moveCode move : moves)
    {
        if (!isCastling(move) && board.position.board[moveTo(move)] != emptySquare)
        {
            compare(move & moveIdentityMask);
        }
    }
    return best;
}

} // namespace tarvonel
