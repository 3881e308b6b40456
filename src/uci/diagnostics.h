// Commands that look inside the engine.
#pragma once

namespace tarvonel
{

/// `showboard`: the diagram of `mainPos`.
void showBoard();

/// `evil`: the static evaluation of `mainPos` for the side to move. Uses the boss's position, so
/// waits for a search or refuses.
void printEvaluation();

/// `hashstats`: what the transposition table holds. During a search only an impression.
void hashStatistics();

} // namespace tarvonel
