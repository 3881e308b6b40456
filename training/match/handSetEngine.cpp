// The engine with the hand-set evaluation everywhere: what a network is measured against.
#include <iostream>

#include "eval/evaluate.h"
#include "uci/console.h"

int main(int argc, char **argv)
{
    tarvonel::networkLimit = 0;
    const std::span<char *> all(argv, static_cast<std::size_t>(argc));
    return tarvonel::runConsole(std::cin, all.subspan(all.empty() ? 0 : 1));
}
