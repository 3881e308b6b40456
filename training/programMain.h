// What the training programs have in common: command line, errors, interrupts.
#pragma once

#include <atomic>
#include <functional>

#include <CLI/CLI.hpp>

namespace tarvonel
{

/// Runs a program from its command line to its exit status. `declareOptions` says which options
/// there are and where their values go; when they have been read and the engine's tables are made,
/// `work` is called and returns the status. What it throws is told in one line on standard error:
/// a CLI::Error is one of the command line and ends with 2, any other exception with 1.
int programMain(int argc, char **argv, const char *purpose, const std::function<void(CLI::App &)> &declareOptions,
                const std::function<int()> &work);

/// Accepts numbers from `low` to `high`.
CLI::Validator numberFrom(double low, double high);

/// The number of the machine's cores, at most 256.
int coreCount();

/// True once the program was asked to end, from the keyboard (Ctrl-C) or by a signal; but only from
/// `watchForInterrupts` on, before which such a signal ends the program at once.
extern std::atomic<bool> interrupted;
void watchForInterrupts();

} // namespace tarvonel
