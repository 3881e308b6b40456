// A request to end, from the keyboard (Ctrl-C) or by SIGTERM.
#pragma once

#include <atomic>

namespace tarvonel
{

/// True once the program is asked to end; only after `watchForInterrupts`, before which such a signal
/// ends the program at once.
extern std::atomic<bool> interrupted;
void watchForInterrupts();

} // namespace tarvonel
