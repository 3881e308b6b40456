// The UCI loop: the program from start-up to its end, with the `info` lines and the answers of searches.
#pragma once

#include <istream>
#include <span>
#include <string>

#include "search/searchReporter.h"

namespace tarvonel
{

/// Prints the lines of the UCI protocol.
extern const searchReporter protocolReporter;

/// The lines for a finished iteration, for a mate that it has proved, and for the answer.
std::string iterationText(const pos &position, int score, int depth, int selDepth);
std::string mateText(const pos &position, int score, int depth);
std::string answerText(moveCode best, moveCode ponder, colour side, const pos &rooks);

struct consoleSetup
{
    searchReporter reports = protocolReporter;
    bool obeysNodes = false; ///< `go nodes N` limits the search
};

/// Starts the engine; runs the `words` of the command line as one command or, if there are none, the lines
/// of `input` up to `quit` or the end; waits for a running search; and releases all threads and the
/// transposition table. Returns the exit status: 1 if memory is insufficient, or if the command of the
/// command line is unknown or refused or its output cannot be written; otherwise 0.
int runConsole(std::istream &input, std::span<char *> words, const consoleSetup &setup = {});

} // namespace tarvonel
