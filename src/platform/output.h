// The engine's standard output.
//
// Threads: any may call. One call is one write, so lines of the console and of the search do not mix,
// and a line is visible as soon as it is written.
#pragma once

#include <string>
#include <string_view>

namespace tarvonel
{

/// Writes the text unchanged and flushes.
void printText(std::string_view text);

/// Writes the line and its end and flushes.
void printLine(std::string line);

/// A message to the controller that is neither an answer nor a report: "info string " and `text`.
void printInfo(const std::string &text);

/// Whether a text could not be written, now or earlier.
bool isOutputLost();

} // namespace tarvonel
