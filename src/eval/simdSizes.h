// The network's sizes that the bodies of the vector operations are written for.
#pragma once

namespace tarvonel::simd
{

inline constexpr int activationMax = 127;
inline constexpr int hiddenShift = 6;      ///< scale of the hidden layers' weights, as a power of two
inline constexpr int hiddenLayerSize = 32; ///< outputs of a hidden layer

} // namespace tarvonel::simd
