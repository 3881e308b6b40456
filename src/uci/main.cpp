#include <iostream>

#include "uci/console.h"

int main(int argc, char **argv)
{
    const std::span<char *> all(argv, static_cast<std::size_t>(argc));
    return tarvonel::runConsole(std::cin, all.subspan(all.empty() ? 0 : 1));
}
