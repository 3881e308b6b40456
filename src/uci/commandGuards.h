// Conditions for running a command, and its refusal.
#pragma once

#include <string>

namespace tarvonel
{

/// Waits until no search runs, for commands that start a search or change data that it reads. During an
/// infinite or ponder search it refuses `command` instead and returns false.
bool awaitSearchEnd(const std::string &command);

/// The same for a command that abandons the game: stops a timed search.
bool stopTimedSearch(const std::string &command);

/// Prints the reason as an info string and records the refusal.
void refuse(const std::string &reason);

/// Whether a command was refused or failed since the last call.
bool takeRefusal();

/// Records a refusal for which the caller has printed a message.
void noteRefusal();

} // namespace tarvonel
