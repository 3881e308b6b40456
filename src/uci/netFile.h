// Taking the network that the option `NetFile` names into use.
#pragma once

namespace tarvonel
{

/// Reads the named file; `netLoaded` tells the outcome, and a message says so if there is no
/// network now. Cached evaluations are forgotten. No search may run.
void useNetFile();

/// The message that there is no network; `what` cannot be searched, "a position" or "the position".
void printNetFileMissing(const char *what);

} // namespace tarvonel
