// The program from start-up to its end: one command after the other, on the calling thread.
#pragma once

#include <istream>
#include <span>

#include "uci/infoLines.h"

namespace tarvonel
{

struct consoleSetup
{
    searchReporter reports = protocolReporter;
    bool obeysNodes = false; ///< `go nodes N` limits the search instead of being ignored
};

/// Starts the engine, runs the `words` of the command line as one command, or, if there are none,
/// the lines of `input` up to `quit` or its end; then waits for a running search and releases all
/// threads and the transposition table. Returns the program's exit status: 1, with a message, without
/// the memory for the smallest set-up; 1 too if the command of the command line was unknown or refused
/// or its output could not be written; otherwise 0.
int runConsole(std::istream &input, std::span<char *> words, const consoleSetup &setup = {});

} // namespace tarvonel
