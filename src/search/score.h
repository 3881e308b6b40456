// Scores: signed 16-bit centipawns from the side to move's view.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

inline constexpr int scoreMate = 32000;     ///< mated at ply p: p - scoreMate; mating there: scoreMate - p
inline constexpr int mateThreshold = 31872; ///< scores from here on, positive or negative, are mates
inline constexpr int tablebaseWin = 31872;  ///< tablebase win at ply p: tablebaseWin - p, which is not a mate score
inline constexpr int scoreDraw = 0;
inline constexpr int noScore = -32767;        ///< static evaluation of a node in check
inline constexpr int infiniteScore = 32767;   ///< half-width of the full window
inline constexpr int worstScore = -scoreMate; ///< before the first move

constexpr bool isMateScore(int value) { return value >= mateThreshold || value <= -mateThreshold; }

/// Mate scores are stored in the TT relative to their node, and used relative to the root.
constexpr int scoreToTable(int value, int ply)
{
    return value >= mateThreshold ? value + ply : value <= -mateThreshold ? value - ply : value;
}
constexpr int scoreFromTable(int value, int ply)
{
    return value >= mateThreshold ? value - ply : value <= -mateThreshold ? value + ply : value;
}

} // namespace tarvonel
