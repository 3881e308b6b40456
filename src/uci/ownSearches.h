// Searches that the engine makes for its own commands: with threads and a table of their own, and
// told to nobody.
#pragma once

#include <memory>

#include "board/engineOptions.h"
#include "board/pos.h"
#include "search/searchReporter.h"
#include "search/worker.h"

namespace tarvonel
{

/// What such searches overwrite.
struct setAsideState
{
    std::unique_ptr<pos> position; ///< `mainPos`
    engineOptionValues options;
    searchLimitValues limits;
    searchReporter installed;
};

/// Puts threads and table to these sizes and takes the reporter away. No search may run.
setAsideState beginOwnSearches(int threads, int hashMegabytes);

/// Makes all as it was before, but for the table, which is empty then.
void endOwnSearches(const setAsideState &before);

/// Searches `mainPos` to `depth` as if there had been no search before. Overwrites the limits. No
/// search may run.
searchResult searchAfresh(int depth);

} // namespace tarvonel
