// The developer's page of the tuner: what is entered here, the next `texel` tunes. The engine is
// committed with nothing in it. docs/development.md has an example and tells the way from here to a
// new value.
#include "tuner/tuningParameter.h"

namespace tarvonel
{

void registerParameters(parameterList & /*parameters*/) {}

} // namespace tarvonel
