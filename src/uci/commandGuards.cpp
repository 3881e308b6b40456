#include "uci/commandGuards.h"

#include <utility>

#include "platform/output.h"
#include "search/searchLimits.h"
#include "search/worker.h"
#include "uci/consoleInput.h"

namespace tarvonel
{
namespace
{

bool isRefused = false; // console thread only

/// Refuses `command` during a search without a time limit. One that was told to stop is only winding
/// down: a controller may send its next command as soon as it has read the answer.
bool isSearchTimed(const std::string &command)
{
    const bool isEndless = searchLimits.infinite || pondering;
    if (!isEndless || stopSearch || !isSearchRunning())
        return true;
    refuse(command + " refused: an infinite or ponder search is running, stop it first");
    return false;
}

} // namespace

bool awaitSearchEnd(const std::string &command)
{
    if (!isSearchTimed(command))
        return false;
    awaitSearchObeyingInput();
    return true;
}

bool stopTimedSearch(const std::string &command)
{
    if (!isSearchTimed(command))
        return false;
    stopSearch = true;
    waitForSearch();
    return true;
}

void refuse(const std::string &reason)
{
    printInfo(reason);
    noteRefusal();
}

void noteRefusal() { isRefused = true; }

bool takeRefusal() { return std::exchange(isRefused, false); }

} // namespace tarvonel
