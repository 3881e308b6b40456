#include "games/rescoredGame.h"

#include "board/makeMove.h"
#include "games/selfSearch.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

constexpr std::uint64_t quietTestNodes = 40;

searchLimitValues limitsOf(std::uint64_t softNodes)
{
    return {.softNodes = softNodes, .hardNodes = hardPerSoft * softNodes};
}

/// Numbers of the moves before which the positions of the game are suitable, up to an illegal move.
std::vector<std::size_t> suitableMoves(const storedGame &game, posWithMoves &board, const positionFilter &filter)
{
    std::vector<std::size_t> numbers;
    if (!unpackStart(game.start, board).empty())
        return numbers;
    for (std::size_t i = 0; i < game.moves.size(); ++i)
    {
        const moveCode move = unpackMove(game.moves[i].move);
        if (!isLegal(board, move))
            break;
        if (game.earlierPlies + static_cast<int>(i) >= filter.firstPly &&
            isSuitable(board.position, move, game.moves[i].score, filter))
            numbers.push_back(i);
        playGameMove(board.position, move);
    }
    return numbers;
}

} // namespace

std::size_t rescoreGame(storedGame &game, posWithMoves &board, const rescorePlan &plan, randomSource &random)
{
    std::bernoulli_distribution isChosen(plan.share);
    const searchLimitValues limits = limitsOf(plan.nodes);
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

storedGame scoreVariation(const storedGame &game, posWithMoves &board, const rescorePlan &plan, randomSource &random)
{
    storedGame line = game;
    line.moves.clear();
    const std::vector<std::size_t> numbers = suitableMoves(game, board, plan.filter);
    if (numbers.empty())
        return line;
    const std::size_t chosen = numbers[std::uniform_int_distribution<std::size_t>(0, numbers.size() - 1)(random)];
    unpackStart(game.start, board);
    for (std::size_t i = 0; i < chosen; ++i)
        playGameMove(board.position, unpackMove(game.moves[i].move));

    line.start = packStart(board.position);
    line.earlierPlies += static_cast<int>(chosen);
    forgetSearches();
    for (const moveCode move : principalVariation(board.position, limitsOf(plan.variationNodes)))
    {
        line.moves.push_back({packMove(move), unscored});
        playGameMove(board.position, move);
    }
    const auto findsItSuitable = [&](const searchResult &result)
    { return result.best != noMove && isSuitable(board.position, result.best, result.score, plan.filter); };
    searchResult last = runSearch(board.position, limitsOf(quietTestNodes)); // rules out most noisy ones
    if (findsItSuitable(last))
        last = runSearch(board.position, limitsOf(plan.nodes));
    if (findsItSuitable(last))
        line.moves.push_back({packMove(last.best), static_cast<std::int16_t>(last.score)});
    else
        line.moves.clear();
    return line;
}

} // namespace tarvonel
