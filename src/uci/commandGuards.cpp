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

bool isRefused = false; // used by the UCI loop's thread only

/// Refuses `command` during an infinite or ponder search. One that is stopping does not count: a controller
/// may send its next command as soon as it has read the answer.
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
