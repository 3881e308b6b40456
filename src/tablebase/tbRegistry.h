// The tablebases found in the directories of the option `SyzygyPath`, by material. A file is mapped on
// first use and stays mapped until the next `initTablebases`.
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

/// A tablebase: a material combination with a WDL file.
struct tablebaseEntry
{
    std::uint64_t signature = 0; ///< `materialSignature` with the first side of the name first
    std::string name;
    tbMaterial material;
    bool hasDtm = false; ///< there is a file of valid size
    bool hasDtz = false;
    std::atomic<tbState> states[tbKindCount] = {};        ///< written after `tables`
    std::unique_ptr<mappedTablebase> tables[tbKindCount]; ///< null until mapped
};

/// The largest number of pieces of any tablebase found, kings included; 0 if there is none.
extern relaxed<unsigned> tableCardinality;

/// Releases all tablebases and finds those in the directories of `path`, which are separated by ";" (and
/// by ":" except on Windows). An empty path or "<empty>" means no directory. Reports files of invalid
/// size on standard output and standard error. Returns true. Ends the process with exit code 1 if there
/// is no memory for the registry.
bool initTablebases(const std::string &path);

/// The entry for a `materialSignature`, or null.
tablebaseEntry *findTb(std::uint64_t signature);

/// The file of a kind, mapped on first use; null if it is missing or unusable. Ends the process with
/// exit code 1 if the system cannot map it.
const mappedTablebase *openTb(tablebaseEntry &entry, tbKind kind);

/// Stops using a file that a look-up has found corrupt or unreadable, and reports it once.
void disableTb(tablebaseEntry &entry, tbKind kind);

} // namespace tarvonel
