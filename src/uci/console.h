// The program from start-up to its end: one command after the other, on the calling thread.
#pragma once

#include <istream>
#include <span>

#include "uci/searchReports.h"

namespace tarvonel
{

struct consoleSetup
{
    searchReporter reports = protocolReporter;
    bool obeysNodes = false; ///< `go nodes N` limits the search instead of being ignored
};

/// Starts the engine, runs the `words` of the command line as one command, or, if there are none,
/// the lines of `input` up to `quit` or its end; then waits for a running search and gives all
/// threads and the transposition table back. Returns the program's exit status, which is 0, or 1 with
/// a message where the memory does not hold even the smallest set-up.
int runConsole(std::istream &input, std::span<char *> words, const consoleSetup &setup = {});

} // namespace tarvonel
