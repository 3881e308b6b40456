#include <iostream>

#include "board/engineOptions.h"
#include "uci/console.h"

int main(int argc, char **argv)
{
#ifdef TARVONEL_NETWORK // a build for one network names it
    tarvonel::engineOptions.netFileName = TARVONEL_NETWORK;
#endif
    std::ios::sync_with_stdio(false); // reads whole blocks
    const std::span<char *> all(argv, static_cast<std::size_t>(argc));
    return tarvonel::runConsole(std::cin, all.subspan(all.empty() ? 0 : 1));
}
