// The program's name as it introduces itself: the version and the instruction set of the build.
#pragma once

namespace tarvonel
{

inline constexpr const char *engineName = "Tarvonel 3.0";
inline constexpr const char *engineAuthor = "Ostrelund";

#if defined(TARVONEL_PLAIN_VECTORS)
inline constexpr const char *engineBuild = " generic";
#elif defined(__AVX2__)
inline constexpr const char *engineBuild = " AVX2";
#elif defined(__SSE2__)
inline constexpr const char *engineBuild = " SSE2";
#else
inline constexpr const char *engineBuild = " generic";
#endif

} // namespace tarvonel
