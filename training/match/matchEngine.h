// One player of a match: an engine process, spoken to in UCI.
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
    std::vector<std::string> command; ///< program and arguments
    std::string directory;            ///< where it runs; empty for the caller's
    std::vector<std::string> options; ///< NAME=VALUE
    bool chess960 = false;
};

struct matchEngine
{
    const engineSettings *settings = nullptr;
    childProcess process;
    std::deque<std::string> lastLines; ///< of the conversation, for fault reports
};

enum class answerKind
{
    move,
    ended,  ///< the program has ended
    silent, ///< no answer within the time given
};

struct engineAnswer
{
    answerKind kind = answerKind::silent;
    std::string move;
    std::optional<int> score; ///< of the last info line, mates as +-(32000 - plies)
    int depth = 0;
    std::uint64_t nodes = 0;
    std::int64_t milliseconds = 0; ///< from the "go" to the "bestmove"
};

/// Starts the program, waits for "uciok", sends the options and waits for "readyok". Throws
/// std::runtime_error if it cannot be started or does not answer.
void startEngine(matchEngine &engine);

/// Sends "ucinewgame" and waits until the engine is ready; false if it does not answer.
bool prepareGame(matchEngine &engine);

/// Sends the position and the "go" line and waits for the move, at most `patience` milliseconds.
/// With `nodeLimit` above 0, the engine is stopped at the first info line of at least that many nodes.
engineAnswer askForMove(matchEngine &engine, const std::string &positionLine, const std::string &goLine,
                        std::uint64_t nodeLimit, std::int64_t patience);

/// Sends one line and collects the rest of each line of the answer that begins with `prefix`, up to
/// `count` of them. Throws std::runtime_error if they do not come within `patience` milliseconds each.
std::vector<std::string> askForLines(matchEngine &engine, const std::string &question, const std::string &prefix,
                                     std::size_t count, std::int64_t patience);

/// Ends the program and returns how it ended.
std::string stopEngine(matchEngine &engine);

/// Reads score, depth and nodes from an "info" line, each bounded to its sensible range; keeps what
/// the line does not have.
void readReport(const std::string &line, engineAnswer &answer);

} // namespace tarvonel
