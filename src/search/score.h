// The scale of all scores: signed 16-bit centipawns from the side to move's view.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

inline constexpr int scoreMate = 32000;     ///< mated at ply p: p - scoreMate; mating there: scoreMate - p
inline constexpr int mateThreshold = 31872; ///< from here on, and below its negation, a score counts plies to mate
inline constexpr int tablebaseWin = 31872;  ///< won by the tables at ply p: tablebaseWin - p, not a mate score
inline constexpr int scoreDraw = 0;
inline constexpr int noScore = -32767;        ///< static evaluation of a node in check
inline constexpr int infiniteScore = 32767;   ///< half-width of the full window
inline constexpr int worstScore = -scoreMate; ///< best score before the first move

constexpr bool isMateScore(int value) { return value >= mateThreshold || value <= -mateThreshold; }

/// A score travels between table and node relative to the node that sees the mate.
constexpr int scoreToTable(int value, int ply)
{
    return value >= mateThreshold ? value + ply : value <= -mateThreshold ? value - ply : value;
}
constexpr int scoreFromTable(int value, int ply)
{
    return value >= mateThreshold ? value - ply : value <= -mateThreshold ? value + ply : value;
}

} // namespace tarvonel
