// The `go` command.
#pragma once

#include <istream>

namespace tarvonel
{

/// Starts a search of `mainPos` with the limits that the rest of the line in `words` tells, and
/// returns while it runs. Waits for a search that still runs; refuses with a message if that one is
/// infinite or ponders, or if there is no network.
void goCommand(std::istream &words);

} // namespace tarvonel
