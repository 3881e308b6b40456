// What a search tells the controller: the `info` lines and the answer.
#pragma once

#include <string>

#include "search/searchReporter.h"

namespace tarvonel
{

/// The reporter that prints the lines of the protocol.
extern const searchReporter protocolReporter;

/// The principal variation of the position, each move followed by a blank.
std::string pvText(const pos &position);

/// Moves to the mate that a mate score tells, negative if the side to move is the one to be mated.
int movesToMate(int mateScore);

} // namespace tarvonel
