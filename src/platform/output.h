// The engine's standard output.
//
// Threads: any. One call is one write, so lines of the UCI loop and of the search do not mix.
#pragma once

#include <string>
#include <string_view>

namespace tarvonel
{

/// Writes the text unchanged and flushes.
void printText(std::string_view text);

/// Writes the line and its end and flushes.
void printLine(std::string line);

/// Writes "info string " and `text` as a line.
void printInfo(const std::string &text);

/// Whether any write has failed so far.
bool isOutputLost();

} // namespace tarvonel
