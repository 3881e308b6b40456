// Which endgame tables there are: material combinations by name, found in the directories of the
// `SyzygyPath` option. Finding them opens files but reads none; a table file is mapped when a probe
// first needs it and stays mapped until the next `initTablebases`.
//
// Threads: the registry is written by the console thread while nothing probes. First use of a file
// by several threads at once is settled in `openTable`.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/relaxed.h"
#include "tablebase/tableFile.h"

namespace tarvonel
{

enum class tableState : std::uint8_t
{
    untouched, ///< no probe has asked for the file yet
    ready,
    broken, ///< failed to map; not tried again before the next `initTablebases`
};

/// One material combination with a WDL file.
struct tablebaseEntry
{
    std::uint64_t signature = 0; ///< `materialSignature` of the table as named
    std::string name;
    tableMaterial material;
    bool hasDtm = false; ///< the file is there and of a valid size
    bool hasDtz = false;
    std::atomic<tableState> states[tableKindCount] = {}; ///< written last
    std::unique_ptr<mappedTable> tables[tableKindCount]; ///< null until mapped
};

/// The largest number of men, kings included, of any table found; 0 switches all tablebase code off.
extern relaxed<unsigned> tableCardinality;

/// Finds the tables in the directories of `path`, separated by ";" (and by ":" except on Windows),
/// and forgets all earlier ones. An empty path or "<empty>" stands for none. Tells of files of a
/// wrong size on standard output and standard error. Always true. Ends the process with exit code 1
/// when there is no memory for the registry.
bool initTablebases(const std::string &path);

/// Whether the first file of that name in the directories has a valid size; tells if it has not.
bool testTableFile(const std::string &name, tableKind kind);

/// The entry for a `materialSignature`, or null.
tablebaseEntry *findTable(std::uint64_t signature);

/// The file of a kind, mapped if this is its first use; null if there is none or it is corrupt.
/// Safe for several threads at once. Ends the process with exit code 1 if the system cannot map it.
const mappedTable *openTable(tablebaseEntry &entry, tableKind kind);

/// Takes a file out of use that turned out corrupt while it was read.
void disableTable(tablebaseEntry &entry, tableKind kind);

} // namespace tarvonel
