// What a command checks before it starts, and how it is refused.
#pragma once

#include <string>

namespace tarvonel
{

/// Waits until no search runs; for commands that start a search or change what one reads. Does not
/// wait for a search that only `stop` or `ponderhit` ends, but refuses `command` and returns false.
bool awaitSearchEnd(const std::string &command);

/// The same for a command that gives up the game: a timed search is stopped, not waited for.
bool stopTimedSearch(const std::string &command);

/// Prints the reason as an info string and notes that the command was refused.
void refuse(const std::string &reason);

/// Whether a command was refused, or failed, since the last call.
bool takeRefusal();

/// Notes a refusal that has its own message.
void noteRefusal();

} // namespace tarvonel
