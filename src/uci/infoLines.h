// What a search prints for the controller: the `info` lines and the answer.
#pragma once

#include <string>

#include "search/searchReporter.h"

namespace tarvonel
{

/// The reporter that prints the lines of the protocol.
extern const searchReporter protocolReporter;

/// The lines of a finished iteration, of a mate it has proved, and of the answer.
std::string iterationText(const pos &position, int score, int depth, int selDepth);
std::string mateText(const pos &position, int score, int depth);
std::string answerText(moveCode best, moveCode ponder, colour side, const pos &rooks);

} // namespace tarvonel
