// What a command has to ask before it starts: may it have the search's memory, and is there a
// position to work on?
#pragma once

#include <string>

namespace tarvonel
{

/// Waits until no search runs; to be called by commands that start a search or change what one
/// reads. A search that only a `stop` or `ponderhit` will end is not waited for, as nobody could
/// read that command any more: then it prints that `command` is refused and returns false.
bool awaitSearchEnd(const std::string &command);

/// Whether `mainPos` may be searched, counted or evaluated; says so if not. Game moves are taken on
/// trust and can leave a position without a king, or with one that could be taken.
bool isMainPositionPlayable();

} // namespace tarvonel
