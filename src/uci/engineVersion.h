// The program's name as it introduces itself: the version and the instruction set of the build.
#pragma once

#include "eval/simd.h"

namespace tarvonel
{

inline constexpr const char *engineName = "Tarvonel 3.0";
inline constexpr const char *engineBuild = simd::buildName;
inline constexpr const char *engineAuthor = "Ostrelund";

} // namespace tarvonel
