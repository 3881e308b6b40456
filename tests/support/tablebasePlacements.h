// The numbering of an endgame table, from the number to the position: the other way round than the
// engine's reader, and by listing instead of reckoning.
#pragma once

#include <functional>
#include <string>

#include "support/tablebaseRules.h"

namespace tarvonel::endings
{

/// The order of the men in a sub-table and of the groups' factors; the default takes the men in a
/// fixed order and puts the leading group first.
struct placing
{
    std::string men; ///< letters, upper case for the first side: "KRkr"; empty for the default
    int order = 0, secondOrder = 1;
};

/// The men of a sub-table one after the other.
std::string placesOf(const std::string &name, const placing &places);

/// All positions of a table in the order of its indices, first side to move for `side` 0. With pawns
/// those whose leading pawn stands on `file`.
void forAllIndices(const std::string &name, const placing &places, int side, int file,
                   const std::function<void(const ending &)> &use);

} // namespace tarvonel::endings
