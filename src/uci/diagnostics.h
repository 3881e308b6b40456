// Commands that inspect the engine.
#pragma once

namespace tarvonel
{

/// `showboard`: the diagram of `mainPos`.
void showBoard();

/// `evil`: the static evaluation of `mainPos` for the side to move. Works in the boss's position, so
/// it waits for a running search or is refused.
void printEvaluation();

/// `hashstats`: the contents of the transposition table; a rough picture during a search.
void hashStatistics();

} // namespace tarvonel
