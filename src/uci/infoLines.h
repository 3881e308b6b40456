// The `info` lines and the answer of a search.
#pragma once

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

} // namespace tarvonel
