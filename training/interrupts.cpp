#include "interrupts.h"

#include <csignal>
#include <initializer_list>

namespace tarvonel
{

std::atomic<bool> interrupted{false};

void watchForInterrupts()
{
    for (const int number : {SIGINT, SIGTERM})
        std::signal(number, [](int /*signal*/) { interrupted = true; });
}

} // namespace tarvonel
