// The positions to which the hand-set evaluation is fitted, labelled with the network's win probability.
//
// The data file has one position per line: the fields of a FEN, the word c9 and the result of the game,
// which is ignored:
//
//   r1bq1rk1/pp2bppp/2n1pn2/2pp4/3P1B2/2PBPN2/PP1N1PPP/R2QK2R w KQ - 0 8 c9 "1-0";
//
// Threads: only the UCI loop's thread writes these, while the tuner's other threads are idle.
#pragma once

#include <cstdint>
#include <deque>
#include <istream>
#include <string>

#include "board/pos.h"
#include "tuner/tunerOutput.h"

namespace tarvonel
{

/// In the working directory.
inline constexpr const char *tuningFileName = "lichess-good.epd";

struct alignas(64) tuningPosition
{
    std::string fen; ///< each field followed by a blank
    posHead head;    ///< its table pointers are not used
    double label;    ///< win probability for white, 0 to 1
    std::uint8_t castling;
    std::uint8_t enPassant;
    std::uint8_t inCheck;
};

/// In the order of the file; each run adds its positions to those of earlier runs. A deque, because it
/// may take half the machine's memory and a vector would need twice that to grow.
extern std::deque<tuningPosition> tuningPositions;

/// The scale in `winProbability`. Kept between runs.
extern double tuningK;

/// White's win probability, 0 to 1, for a score in centipawns from white's view.
double winProbability(int whiteScore);

/// Reads the data file and labels its positions with the current `tuningK`. Returns false, with a message,
/// if there is no file, network or position. Sets each position up in `position`.
bool loadTuningPositions(pos &position, const tunerOutput &print);

/// The same from a stream; a network is loaded. Prints the number of positions taken and of lines skipped,
/// if any. If memory runs out or the stream fails, only the positions of earlier runs remain.
bool readTuningPositions(std::istream &file, pos &position, const tunerOutput &print);

} // namespace tarvonel
