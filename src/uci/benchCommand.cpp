#include "uci/benchCommand.h"

#include <algorithm>
#include <string>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "eval/networkFile.h"
#include "platform/clock.h"
#include "platform/output.h"
#include "uci/benchPositions.h"
#include "uci/options.h"
#include "uci/ownSearches.h"
#include "uci/positionCommand.h"

namespace tarvonel
{

benchEffort searchBenchPositions(int depth)
{
    benchEffort effort;
    const std::int64_t start = millisecondsNow();
    for (const benchPosition &entry : benchPositions)
    {
        engineOptions.chess960 = entry.chess960;
        setupPosition(entry.fen, mainPos);
        effort.nodes += searchAfresh(depth).nodes;
    }
    effort.milliseconds = std::max<std::int64_t>(millisecondsNow() - start, 1);
    return effort;
}

void bench(const benchSettings &settings)
{
    if (!netLoaded)
        return refuseWithoutNetwork("a position");
    const setAsideState before = beginOwnSearches(settings.threads, settings.hashMegabytes);
    const benchEffort effort = searchBenchPositions(settings.depth);
    endOwnSearches(before);
    constexpr std::uint64_t millisecondsPerSecond = 1000;
    printLine(std::to_string(effort.nodes) + " nodes " +
              std::to_string(effort.nodes * millisecondsPerSecond / static_cast<std::uint64_t>(effort.milliseconds)) +
              " nps");
}

} // namespace tarvonel
