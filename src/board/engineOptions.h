// The values of the engine's options: one global record that every part may read.
//
// Threads: only the console writes; numbers and switches are relaxed, as a running search may read
// them at the same moment. The texts are read by the console alone.
#pragma once

#include <string>

#include "platform/relaxed.h"

namespace tarvonel
{

/// What stands for "no file" in the text options.
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
