#include "games/selfGame.h"

#include <algorithm>
#include <cstdlib>

#include "board/makeMove.h"
#include "board/pieceValues.h"
#include "games/positionFilter.h"
#include "games/selfSearch.h"
#include "games/unevenStarts.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

// Dead draws, streaks in plies. In 1423 games played to the end 2 of the 128 that these rules call
// drawn had a winner.
constexpr int noProgressPlies = 24; ///< since the last capture or pawn move
constexpr int noProgressScore = 100;
constexpr int noProgressStreak = 16;
constexpr int fewPieces = 6; ///< kings and pawns included
constexpr int fewPiecesScore = 20;
constexpr int fewPiecesStreak = 8;

constexpr int unevenStartPly = 40; ///< of the game that a start from unevenStarts counts as
constexpr int unevenLimit = 900;   ///< centipawns; starts scored beyond are decided
constexpr int middlegamePhase = 12;

constexpr positionFilter trainedOn = {.firstPly = 12};

/// No pawns, and at most one minor piece on each side: mates exist but cannot be forced.
bool isBareMinorEnding(const pos &position)
{
    const auto minors = [&](colour side)
    { return position.bitboards[whiteKnight + side] | position.bitboards[whiteBishop + side]; };
    const auto kingAndMinors = [&](colour side)
    { return (position.bitboards[side] & ~minors(side)) == position.bitboards[whiteKing + side]; };
    return kingAndMinors(white) && kingAndMinors(black) && !moreThanOne(minors(white)) && !moreThanOne(minors(black));
}

/// Whether a winning score of `side` is to be trusted: without pawns only with the lead of a rook.
bool canWin(const pos &position, colour side)
{
    const int lead = egOf(position.material[side] - position.material[opponent(side)]);
    return position.bitboards[whitePawn + side] != 0 || lead >= egOf(pieceValue[rook]);
}

searchResult quickMove(posWithMoves &board, const std::vector<moveCode> &moves, const selfPlayPlan &plan,
                       randomSource &random)
{
    searchResult chosen;
    chosen.score = unscored;
    if (board.position.info[0].inCheck == 0)
    {
        const quietValue value = quiescenceValue(board.position);
        chosen.score = value.value == value.standPat ? value.value : unscored;
    }
    chosen.best = sampledMove(board.position, moves, plan.tries, random);
    return chosen;
}

/// The plan's limits with another soft limit, the hard one in proportion.
searchLimitValues limitsFor(int softNodes, const selfPlayPlan &plan)
{
    searchLimitValues limits = plan.limits;
    const auto nodes = static_cast<std::uint64_t>(softNodes);
    limits.hardNodes = limits.hardNodes * nodes / limits.softNodes;
    limits.softNodes = nodes;
    return limits;
}

/// With `unsuitableNodes`, a small search first decides whether the position will be trained on. Only
/// then does the full search follow, helped by the transposition table.
searchResult searchedMove(const pos &position, const selfPlayPlan &plan, int ply)
{
    if (plan.unsuitableNodes != 0)
    {
        const searchResult first = runSearch(position, limitsFor(plan.unsuitableNodes, plan));
        if (ply < trainedOn.firstPly || !isSuitable(position, first.best, first.score, trainedOn))
            return first;
    }
    const bool isMiddlegame = plan.middlegameNodes != 0 && position.phase >= middlegamePhase;
    return runSearch(position, isMiddlegame ? limitsFor(plan.middlegameNodes, plan) : plan.limits);
}

} // namespace

std::optional<int> adjudicate(gameTrend &trend, const selfPlayPlan &plan, const pos &position, int whiteScore, int ply)
{
    const auto extend = [](int &streak, bool holds) { return streak = holds ? streak + 1 : 0; };
    const int whiteWins = extend(trend.whiteStreak, whiteScore >= plan.winScore && canWin(position, white));
    const int blackWins = extend(trend.blackStreak, whiteScore <= -plan.winScore && canWin(position, black));
    const int draws = extend(trend.drawStreak, std::abs(whiteScore) <= plan.drawScore);
    const int level = extend(trend.levelStreak, std::abs(whiteScore) <= noProgressScore);
    const int few = extend(trend.fewPiecesStreak,
                           std::abs(whiteScore) <= fewPiecesScore && popCount(occupancy(position)) <= fewPieces);
    if (whiteWins >= plan.winPlies)
        return 2;
    if (blackWins >= plan.winPlies)
        return 0;
    const bool isDead = (position.fiftyCount >= noProgressPlies && level >= noProgressStreak) ||
                        few >= fewPiecesStreak || isBareMinorEnding(position);
    if ((isDead && plan.endsDeadDraws) || (draws >= plan.drawPlies && ply >= plan.drawFrom) || ply >= plan.longestGame)
        return 1;
    return std::nullopt;
}

std::optional<storedGame> playSelfGame(posWithMoves &board, const selfPlayPlan &plan, randomSource &random)
{
    // No number is drawn where the answer is known, so that the option changes no other game.
    const bool isUneven =
        plan.unevenShare > 0 && std::uniform_real_distribution<double>(0, 1)(random) < plan.unevenShare;
    storedGame game;
    if (isUneven)
        drawUnevenStart(board, random);
    game.earlierPlies = isUneven ? unevenStartPly : drawOpening(board, plan.opening, random);
    if (game.earlierPlies < 0)
        return std::nullopt;
    game.start = packStart(board.position);
    if (!plan.quick)
        forgetSearches();
    const int openingLimit = isUneven ? std::max(plan.openingLimit, unevenLimit) : plan.openingLimit;
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
            plan.quick ? quickMove(board, moves, plan, random) : searchedMove(board.position, plan, ply);
        if (game.moves.empty() && chosen.score != unscored && std::abs(chosen.score) > openingLimit)
            return std::nullopt;
        game.moves.push_back({packMove(chosen.best), static_cast<std::int16_t>(chosen.score)});
        std::optional<int> points;
        if (chosen.score != unscored)
            points = adjudicate(trend, plan, board.position, side == white ? chosen.score : -chosen.score, ply);
        playGameMove(board.position, chosen.best);
        if (points || ply >= plan.longestGame)
        {
            game.whitePoints = points.value_or(1);
            return game;
        }
    }
}

} // namespace tarvonel
