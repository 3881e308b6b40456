// Timings of tablebase probes.
#pragma once

namespace tarvonel
{

/// Registers them, or prints why there are none.
void registerTablebaseBenchmarks();

} // namespace tarvonel
