// The position of the console, and the `position` command: the one way to change it.
#pragma once

#include <istream>

#include "board/pos.h"

namespace tarvonel
{

/// The position that commands search, count, evaluate and show.
extern pos &mainPos;

/// Sets up `mainPos` and `gamePlyHint` from the rest of the line in `words`: "startpos" or "fen" with
/// its text, then "moves" and the moves of the game. An invalid position changes nothing but is
/// remembered as refused; a move that cannot be read ends the list. A running search is not affected.
void positionCommand(std::istream &words);

/// Refuses the `position` command for this reason: until one is accepted, there is nothing to search.
void refusePosition(const std::string &reason);

/// Whether `mainPos` may be searched, counted or evaluated; otherwise prints why not. The last
/// position may have been refused; moves of the game are not checked and can leave a position without
/// a king, or with one that could be taken.
bool isMainPositionPlayable();

} // namespace tarvonel
