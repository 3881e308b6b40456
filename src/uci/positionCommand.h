// The `position` command: the one way to change `mainPos`.
#pragma once

#include <istream>

namespace tarvonel
{

/// Sets up `mainPos` and `gamePlyHint` from the rest of the line in `words`: "startpos" or "fen"
/// with its text, then "moves" and the moves of the game. A text that cannot be set up changes
/// nothing and is answered with a message; a move that cannot be read ends the list. Does not
/// touch what a running search reads.
void positionCommand(std::istream &words);

} // namespace tarvonel
