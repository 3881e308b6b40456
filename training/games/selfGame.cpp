#include "games/selfGame.h"

#include <algorithm>
#include <cstdlib>

#include "board/makeMove.h"
#include "games/selfSearch.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

/// What the last plies have seen, from white's view.
struct gameTrend
{
    int whiteStreak = 0;
    int blackStreak = 0;
    int drawStreak = 0;
};

/// Half points for white if the game is to end here.
std::optional<int> judge(gameTrend &trend, const selfPlayPlan &plan, int whiteScore, int ply)
{
    trend.whiteStreak = whiteScore >= plan.winScore ? trend.whiteStreak + 1 : 0;
    trend.blackStreak = whiteScore <= -plan.winScore ? trend.blackStreak + 1 : 0;
    trend.drawStreak = std::abs(whiteScore) <= plan.drawScore ? trend.drawStreak + 1 : 0;
    if (trend.whiteStreak >= plan.winPlies || trend.blackStreak >= plan.winPlies)
        return trend.whiteStreak > 0 ? 2 : 0;
    if ((trend.drawStreak >= plan.drawPlies && ply >= plan.drawFrom) || ply >= plan.longestGame)
        return 1;
    return std::nullopt;
}

searchResult quickMove(posWithMoves &board, const std::vector<moveCode> &moves, const selfPlayPlan &plan,
                       randomSource &random)
{
    searchResult chosen;
    chosen.score = unscored;
    if (board.position.info[0].inCheck == 0)
    {
        const quietValue value = quiescenceValue(board);
        chosen.score = value.value == value.standPat ? value.value : unscored;
    }
    chosen.best = sampledMove(board, moves, plan.tries, random);
    return chosen;
}

} // namespace

std::optional<storedGame> playSelfGame(posWithMoves &board, const selfPlayPlan &plan, randomSource &random)
{
    storedGame game;
    game.earlierPlies = drawOpening(board, plan.opening, random);
    if (game.earlierPlies < 0)
        return std::nullopt;
    game.start = packStart(board.position);
    if (!plan.quick)
        forgetSearches();
    gameTrend trend;
    for (int ply = game.earlierPlies;; ++ply)
    {
        const std::vector<moveCode> moves = legalMoves(board);
        const colour side = board.position.sideToMove;
        const gameEnd end = endOfGame(board, moves);
        if (end != gameEnd::none)
        {
            game.whitePoints = end != gameEnd::checkmate ? 1 : side == white ? 0 : 2;
            return game;
        }
        const searchResult chosen =
            plan.quick ? quickMove(board, moves, plan, random) : runSearch(board.position, plan.limits);
        if (game.moves.empty() && std::abs(chosen.score) > plan.openingLimit && chosen.score != unscored)
            return std::nullopt;
        game.moves.push_back({packMove(chosen.best), static_cast<std::int16_t>(chosen.score)});
        playGameMove(board.position, chosen.best);
        const std::optional<int> points = chosen.score == unscored
                                              ? std::nullopt
                                              : judge(trend, plan, side == white ? chosen.score : -chosen.score, ply);
        if (points || ply >= plan.longestGame)
        {
            game.whitePoints = points.value_or(1);
            return game;
        }
    }
}

} // namespace tarvonel
