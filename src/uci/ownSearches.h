// Searches that the engine makes for its own commands: with threads and a table of their own, and
// without reports.
#pragma once

#include <memory>

#include "board/engineOptions.h"
#include "board/pos.h"
#include "search/searchReporter.h"
#include "search/worker.h"

namespace tarvonel
{

/// What such searches overwrite, to restore it afterwards.
struct setAsideState
{
    std::unique_ptr<pos> position; ///< `mainPos`
    engineOptionValues options;
    searchLimitValues limits;
    searchReporter installed;
};

/// Resizes thread pool and table and silences the reporter. No search may run.
setAsideState beginOwnSearches(int threads, int hashMegabytes);

/// Restores everything but the contents of the table, which is empty then.
void endOwnSearches(const setAsideState &before);

/// Searches `mainPos` to `depth` with empty table, histories and caches. Overwrites the limits. No
/// search may run.
searchResult searchAfresh(int depth);

} // namespace tarvonel
