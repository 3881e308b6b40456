#include "uci/commandGuards.h"

#include "board/setup.h"
#include "platform/output.h"
#include "search/searchLimits.h"
#include "search/worker.h"

namespace tarvonel
{

// A search that has been told to stop is only winding up: a controller may send its next command
// as soon as it has read the answer.
bool awaitSearchEnd(const std::string &command)
{
    const bool isEndless = searchLimits.infinite || pondering;
    if (isEndless && !stopSearch && isSearchRunning())
    {
        printInfo(command + " refused: an infinite or ponder search is running, stop it first");
        return false;
    }
    waitForSearch();
    return true;
}

bool isMainPositionPlayable()
{
    if (isPlayable(mainPos))
        return true;
    printInfo("The position cannot be played on: a king is missing or could be taken");
    return false;
}

} // namespace tarvonel
