// The developer's page of the tuner: what is entered here, the next `texel` tunes. The engine is
// committed with nothing in it. See docs/development.md for the way from here to a new value;
// entries look like this:
//
//   addTable(parameters, {.name = "supported[8]", .first = tunableTerms.pawns.supported, .size = 8});
//   addTable(parameters, {.name = "tempo", .first = &tunableTerms.frame.tempo, .printKind = singleConstant});
#include "tuner/tuningParameter.h"

namespace tarvonel
{

void registerParameters(parameterList & /*parameters*/) {}

} // namespace tarvonel
