// Whose result counts when several threads have searched the same root.
#pragma once

#include "search/worker.h"

namespace tarvonel
{

/// The worker whose move is to be played, once all are idle. Deeper results count more, finished
/// iterations more than begun ones, and a winning mate overrules both. With one thread or a depth
/// limit it is always the boss.
worker &chooseBestThread();

} // namespace tarvonel
