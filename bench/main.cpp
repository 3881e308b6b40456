// Timings of the engine's parts.
#include <benchmark/benchmark.h>

#include "board/attackTables.h"
#include "support/syntheticNetwork.h"
#include "tablebaseBench.h"

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    tarvonel::initTables();
    tarvonel::useSyntheticNetwork();
    tarvonel::registerTablebaseBenchmarks();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
