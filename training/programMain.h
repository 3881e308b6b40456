// What the training programs share: command line, errors, exit status.
#pragma once

#include <functional>
#include <string>

#include <CLI/CLI.hpp>

#include "interrupts.h"

namespace tarvonel
{

/// Runs a program and returns its exit status. `declareOptions` adds the options and binds them to
/// variables; after parsing and `initTables`, `work` runs and returns the status. An exception is
/// reported in one line on standard error: CLI::Error gives status 2, any other exception 1.
int programMain(int argc, char **argv, const char *purpose, const std::function<void(CLI::App &)> &declareOptions,
                const std::function<int()> &work);

/// The directory that the running program was started from, absolute; empty if the shell found it in
/// its search path. Its sister programs are found in the same way.
extern std::string programDirectory;

/// Accepts numbers from `low` to `high`.
CLI::Validator numberFrom(double low, double high);

/// The number of the machine's cores, at most 256.
int coreCount();

} // namespace tarvonel
