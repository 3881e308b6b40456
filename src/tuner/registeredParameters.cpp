// The parameters that `texel` tunes. A developer adds them here for a run, as docs/development.md
// describes; the committed version has none.
#include "tuner/tuningParameter.h"

namespace tarvonel
{

void registerParameters(parameterList & /*parameters*/) {}

} // namespace tarvonel
