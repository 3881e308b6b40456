// The tablebases found in the directories of the `SyzygyPath` option, by material. The search for them
// opens the files but does not read them; a file is mapped when a probe first needs it, and stays
// mapped until the next `initTablebases`.
//
// Threads: `initTablebases` runs while nothing probes. `openTb` and `disableTb` may be called by any
// number of threads at once.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/relaxed.h"
#include "tablebase/tbFile.h"

namespace tarvonel
{

enum class tbState : std::uint8_t
{
    untouched, ///< not probed yet
    ready,
    broken, ///< unusable; not tried again before the next `initTablebases`
};

/// A material combination with a WDL file.
struct tablebaseEntry
{
    std::uint64_t signature = 0; ///< `materialSignature` with the first side of the name first
    std::string name;
    tbMaterial material;
    bool hasDtm = false; ///< the file exists and has a valid size
    bool hasDtz = false;
    std::atomic<tbState> states[tbKindCount] = {};        ///< written after `tables`
    std::unique_ptr<mappedTablebase> tables[tbKindCount]; ///< null until mapped
};

/// The largest number of pieces, kings included, of any tablebase found; 0 switches tablebases off.
extern relaxed<unsigned> tableCardinality;

/// Releases all tablebases and finds those in the directories of `path`, which are separated by ";"
/// (and by ":" except on Windows). An empty path or "<empty>" means no directory. Reports files of a
/// wrong size on standard output and standard error. Always true. Ends the process with exit code 1
/// if there is no memory for the registry.
bool initTablebases(const std::string &path);

/// Whether the first file of that name in the directories has a valid size; reports it if not.
bool testTableFile(const std::string &name, tbKind kind);

/// The entry for a `materialSignature`, or null.
tablebaseEntry *findTb(std::uint64_t signature);

/// The file of a kind, mapped on first use; null if it is missing or unusable. Ends the process with
/// exit code 1 if the system cannot map it.
const mappedTablebase *openTb(tablebaseEntry &entry, tbKind kind);

/// Stops using a file that turned out corrupt or unreadable during a look-up, and reports it once.
void disableTb(tablebaseEntry &entry, tbKind kind);

} // namespace tarvonel
