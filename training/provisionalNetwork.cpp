// provisionalNetwork OUT: writes the network file that stands in for a trained one.
#include <cstdio>
#include <fstream>
#include <memory>

#include "eval/networkWriter.h"
#include "provisionalWeights.h"

int main(int argumentCount, char **arguments)
{
    if (argumentCount != 2)
    {
        std::fputs("usage: provisionalNetwork OUT\n", stderr);
        return 1;
    }
    const auto weights = std::make_unique<tarvonel::networkWeights>();
    tarvonel::makeProvisionalWeights(*weights);
    std::ofstream file(arguments[1], std::ios::binary);
    tarvonel::writeNet(file, *weights, "provisional: material, piece squares and tempo, not trained");
    file.close();
    if (!file.good())
    {
        std::fprintf(stderr, "cannot write %s\n", arguments[1]);
        return 1;
    }
    return 0;
}
