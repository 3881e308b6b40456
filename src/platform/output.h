// All that the engine says on standard output goes through here.
//
// Threads: may be called from any. One call is one write, so lines of the console and of the
// search do not mix, and what ends in a newline is visible at once.
#pragma once

#include <string>
#include <string_view>

namespace tarvonel
{

/// Writes the text as it stands and flushes.
void printText(std::string_view text);

/// Writes the line, its end and flushes.
void printLine(std::string line);

/// A message to the controller that is neither an answer nor a report: "info string " and `text`.
void printInfo(const std::string &text);

} // namespace tarvonel
