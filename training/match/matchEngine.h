// One player of a match: an engine program spoken to over pipes.
//
// Threads: one record belongs to one thread.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "match/childProcess.h"

namespace tarvonel
{

struct engineSettings
{
    std::string name;
    std::vector<std::string> command; ///< program and its words
    std::string directory;            ///< where it runs; empty for the caller's
    std::vector<std::string> options; ///< NAME=VALUE
    bool chess960 = false;
};

struct matchEngine
{
    const engineSettings *settings = nullptr;
    childProcess process;
    std::deque<std::string> lastLines; ///< of the conversation, for reports of faults
};

/// What came of asking for a move.
enum class answerKind
{
    move,
    ended,  ///< the program went away
    silent, ///< no answer within the time given
};

struct engineAnswer
{
    answerKind kind = answerKind::silent;
    std::string move;
    std::optional<int> score; ///< of the last report, mates as +-(32000 - plies)
    int depth = 0;
    std::uint64_t nodes = 0;
    std::int64_t milliseconds = 0; ///< from the "go" to the "bestmove"
};

/// Starts the program, waits for "uciok", sends the options and waits for "readyok". Empty text or
/// what went wrong.
std::string startEngine(matchEngine &engine);

/// Sends "ucinewgame" and waits until the engine is ready; false when it does not answer.
bool prepareGame(matchEngine &engine);

/// Sends the position and the "go" line and waits for the move, at most `patience` milliseconds.
/// With `nodeLimit` above 0, the engine is stopped at the first report of that many nodes.
engineAnswer askForMove(matchEngine &engine, const std::string &positionLine, const std::string &goLine,
                        std::uint64_t nodeLimit, std::int64_t patience);

/// Ends the program and says how it ended.
std::string stopEngine(matchEngine &engine);

/// Takes score, depth and nodes out of an "info" line; leaves what the line does not tell.
void readReport(const std::string &line, engineAnswer &answer);

} // namespace tarvonel
