#include "games/rescoredGame.h"

#include "board/makeMove.h"
#include "games/selfSearch.h"
#include "search/worker.h"

namespace tarvonel
{

std::size_t rescoreGame(storedGame &game, posWithMoves &board, const rescorePlan &plan, randomSource &random)
{
    std::bernoulli_distribution isChosen(plan.share);
    searchLimitValues limits = plan.limits;
    limits.hardNodes = hardPerSoft * limits.softNodes;
    std::size_t rescored = 0;
    bool isSound = unpackStart(game.start, board).empty();
    forgetSearches();
    int ply = game.earlierPlies;
    for (storedMove &stored : game.moves)
    {
        const moveCode move = unpackMove(stored.move);
        const int oldScore = stored.score;
        stored.score = unscored;
        isSound = isSound && isLegal(board, move);
        if (!isSound)
            continue;
        if (ply++ >= plan.filter.firstPly && isSuitable(board.position, move, oldScore, plan.filter) &&
            isChosen(random))
        {
            const searchResult deeper = runSearch(board.position, limits);
            if (isSuitable(board.position, deeper.best, deeper.score, plan.filter))
            {
                stored.score = static_cast<std::int16_t>(deeper.score);
                ++rescored;
            }
        }
        playGameMove(board.position, move);
    }
    return rescored;
}

} // namespace tarvonel
