#include "match/matchGame.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "board/makeMove.h"
#include "board/moveCode.h"
#include "board/setup.h"
#include "platform/parseText.h"
#include "words.h"

namespace tarvonel
{

namespace
{

constexpr std::int64_t clockGrace = 5000; ///< how long to wait for a late answer, which is not a hang

struct runningGame
{
    matchEngine *engines[colourCount];
    const gamePlan &plan;
    posWithMoves &board;
    adjudicator judge;
    std::int64_t clocks[colourCount];
    finishedGame record;
};

std::string goLine(const runningGame &game)
{
    const thinkingLimits &limits = game.plan.limits;
    if (limits.nodes > 0)
        return "go nodes " + std::to_string(limits.nodes);
    if (limits.depth > 0)
        return "go depth " + std::to_string(limits.depth);
    if (limits.moveTime > 0)
        return "go movetime " + std::to_string(limits.moveTime);
    const std::string increment = std::to_string(limits.increment);
    return "go wtime " + std::to_string(game.clocks[white]) + " btime " + std::to_string(game.clocks[black]) +
           " winc " + increment + " binc " + increment;
}

bool isClockGame(const thinkingLimits &limits)
{
    return limits.nodes == 0 && limits.depth == 0 && limits.moveTime == 0;
}

/// How long an answer may take; 0 without a time limit.
std::int64_t timeAllowed(const runningGame &game, colour side)
{
    const thinkingLimits &limits = game.plan.limits;
    return isClockGame(limits)   ? game.clocks[side] + limits.margin
           : limits.moveTime > 0 ? limits.moveTime + limits.margin
                                 : 0;
}

void endByFault(runningGame &game, colour side, gameFault fault, const std::string &reason)
{
    game.record.fault = fault;
    game.record.whitePoints = side == white ? 0 : 2;
    game.record.reason = game.engines[side]->settings->name + " " + reason;
    game.record.lastLines = {game.engines[side]->lastLines.begin(), game.engines[side]->lastLines.end()};
}

/// Whether the answer is a move in time; records the fault otherwise.
bool acceptAnswer(runningGame &game, colour side, const engineAnswer &answer, std::int64_t allowed)
{
    matchEngine &engine = *game.engines[side];
    if (answer.kind == answerKind::ended)
    {
        endByFault(game, side, gameFault::crash, "disconnects");
        game.record.reason += ": " + stopEngine(engine);
        return false;
    }
    if (answer.kind == answerKind::silent)
    {
        endByFault(game, side, gameFault::noAnswer,
                   "gave no answer within " + std::to_string(answer.milliseconds) + " ms");
        game.record.reason += ": " + stopEngine(engine);
        return false;
    }
    if (allowed > 0 && answer.milliseconds > allowed)
    {
        endByFault(game, side, gameFault::timeLoss,
                   "loses on time: " + std::to_string(answer.milliseconds) + " ms of " + std::to_string(allowed));
        return false;
    }
    return true;
}

std::string commentText(const engineAnswer &answer)
{
    char text[64];
    const double seconds = static_cast<double>(answer.milliseconds) / 1000;
    if (answer.score)
        std::snprintf(text, sizeof text, "%+.2f/%d %.3fs", *answer.score / 100.0, answer.depth, seconds);
    else
        std::snprintf(text, sizeof text, "%.3fs", seconds);
    return text;
}

void endByRule(runningGame &game, gameEnd end)
{
    const colour side = game.board.position.sideToMove;
    game.record.whitePoints = end != gameEnd::checkmate ? 1 : side == white ? 0 : 2;
    game.record.reason = endText(end);
}

/// One move of the side to move; false when the game is over.
bool playOneMove(runningGame &game, const std::vector<moveCode> &moves)
{
    pos &position = game.board.position;
    const colour side = position.sideToMove;
    const thinkingLimits &limits = game.plan.limits;
    const std::int64_t allowed = timeAllowed(game, side);
    const engineAnswer answer =
        askForMove(*game.engines[side], game.record.positionLine, goLine(game),
                   static_cast<std::uint64_t>(limits.nodes), allowed > 0 ? allowed + clockGrace : limits.patience);
    if (!acceptAnswer(game, side, answer, allowed))
        return false;
    game.clocks[side] = std::max<std::int64_t>(game.clocks[side] - answer.milliseconds, 0) + limits.increment;
    const moveCode move = findMove(game.board, moves, answer.move);
    if (move == noMove)
    {
        endByFault(game, side, gameFault::illegalMove, "plays an illegal move: " + answer.move);
        return false;
    }
    game.record.moves.push_back({shortNotation(game.board, moves, move), commentText(answer)});
    game.record.positionLine += (game.record.moves.size() == 1 ? " moves " : " ") + answer.move;
    playGameMove(position, move);
    game.record.whitePoints = adjudicate(game.judge, side, answer.score, game.record.reason);
    return !game.record.whitePoints;
}

int fullMoveNumber(const std::string &fen)
{
    const std::vector<std::string> fields = splitWords(fen);
    const int number = fields.size() > 5 ? wholeNumber<int>(fields[5]).value_or(1) : 1;
    return number > 0 && number < 10000 ? number : 1;
}

} // namespace

std::optional<int> adjudicate(adjudicator &judge, colour mover, std::optional<int> score, std::string &reason)
{
    const adjudicationRules &rules = judge.rules;
    ++judge.plies;
    const int whiteScore = !score ? 0 : mover == white ? *score : -*score;
    const bool decided = score && rules.resignMoves > 0 && std::abs(whiteScore) >= rules.resignScore;
    judge.winningStreak[white] = decided && whiteScore > 0 ? judge.winningStreak[white] + 1 : 0;
    judge.winningStreak[black] = decided && whiteScore < 0 ? judge.winningStreak[black] + 1 : 0;
    judge.drawStreak = score && std::abs(whiteScore) <= rules.drawScore ? judge.drawStreak + 1 : 0;
    for (const colour side : {white, black})
    {
        if (rules.resignMoves > 0 && judge.winningStreak[side] >= 2 * rules.resignMoves)
        {
            reason = "adjudication: both engines report a decided game";
            return side == white ? 2 : 0;
        }
    }
    if (rules.drawMoves > 0 && judge.plies >= rules.drawPly && judge.drawStreak >= 2 * rules.drawMoves)
    {
        reason = "adjudication: both engines report a draw";
        return 1;
    }
    if (rules.maxPlies > 0 && judge.plies >= rules.maxPlies)
    {
        reason = "adjudication: the game is too long";
        return 1;
    }
    return std::nullopt;
}

finishedGame playGame(matchEngine &whiteEngine, matchEngine &blackEngine, const gamePlan &plan)
{
    const auto board = std::make_unique<posWithMoves>();
    runningGame game{{&whiteEngine, &blackEngine},           plan, *board, {plan.rules},
                     {plan.limits.clock, plan.limits.clock}, {}};
    const std::string error = setupPlayablePosition(plan.openingFen, board->position);
    if (!error.empty())
    {
        game.record.reason = "bad opening: " + error;
        return game.record;
    }
    game.record.blackBegins = board->position.sideToMove == black;
    game.record.firstMoveNumber = fullMoveNumber(plan.openingFen);
    game.record.positionLine = "position fen " + plan.openingFen;
    for (const colour side : {white, black})
    {
        if (!prepareGame(*game.engines[side]))
        {
            endByFault(game, side, gameFault::crash, "is not ready for a game");
            game.record.reason += ": " + stopEngine(*game.engines[side]);
            return game.record;
        }
    }
    for (;;)
    {
        const std::vector<moveCode> moves = legalMoves(*board);
        const gameEnd end = endOfGame(*board, moves);
        if (end != gameEnd::none)
        {
            endByRule(game, end);
            return game.record;
        }
        if (!playOneMove(game, moves))
            return game.record;
    }
}

} // namespace tarvonel
