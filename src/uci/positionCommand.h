// The current position, and the `position` command, which sets it.
#pragma once

#include <istream>

#include "board/pos.h"

namespace tarvonel
{

/// The position that all commands use.
extern pos &mainPos;

/// Sets up `mainPos` and `gamePlyHint` from the rest of the line: "startpos" or "fen" and a FEN, then
/// "moves" and the moves of the game. An invalid position is refused and changes nothing. A word that is
/// not a move ends the list. Does not affect a running search.
void positionCommand(std::istream &words);

/// Refuses the `position` command. Until one is accepted, there is no position to search.
void refusePosition(const std::string &reason);

/// Whether `mainPos` may be searched, counted or evaluated; if not, prints why. The last position may have
/// been refused, or unchecked moves may have led to a position in which a king is missing or can be
/// captured.
bool isMainPositionPlayable();

} // namespace tarvonel
