// The values of the engine's options, in a global record that all modules read.
//
// Threads: only the UCI loop writes, and only it reads the strings. Numbers and switches are relaxed
// because a running search may read them at the same time.
#pragma once

#include <string>

#include "platform/relaxed.h"

namespace tarvonel
{

/// The value of a string option that names no file.
inline constexpr const char *emptyOptionText = "<empty>";

inline constexpr int defaultThreads = 1, minThreads = 1, maxThreads = 256;
inline constexpr int defaultHashMegabytes = 256, minHashMegabytes = 1, maxHashMegabytes = 262144;
inline constexpr int defaultMoveOverhead = 100, minMoveOverhead = 1, maxMoveOverhead = 60000;
inline constexpr int defaultSyzygyProbeDepth = 0, minSyzygyProbeDepth = 0, maxSyzygyProbeDepth = 127;
inline constexpr int defaultNumaNode = 0, minNumaNode = 0, maxNumaNode = 4;
inline constexpr const char *defaultNetFileName = "220321-307.nnue";

struct engineOptionValues
{
    relaxed<int> threadCount = defaultThreads;
    relaxed<int> hashMegabytes = defaultHashMegabytes;
    relaxed<bool> ponderEnabled = false;
    relaxed<int> moveOverhead = defaultMoveOverhead; ///< milliseconds
    std::string syzygyPath;
    relaxed<int> syzygyProbeDepth = defaultSyzygyProbeDepth;
    relaxed<int> numaNode = defaultNumaNode; ///< 0: placement by thread index, n: all on node n - 1
    std::string netFileName = defaultNetFileName;
    relaxed<bool> chess960 = false;
};

inline engineOptionValues engineOptions;

} // namespace tarvonel
