// The positions that the hand-set evaluation is fitted to, each with the win probability that the
// network gives it.
//
// The data file holds one position per line: the fields of a FEN text, the word c9 and the result
// of its game, of which the tuner makes no use:
//
//   r1bq1rk1/pp2bppp/2n1pn2/2pp4/3P1B2/2PBPN2/PP1N1PPP/R2QK2R w KQ - 0 8 c9 "1-0";
//
// Threads: all of this is written by the console thread while the tuner's own threads are idle.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <istream>
#include <string>

#include "board/pos.h"
#include "tuner/tunerOutput.h"

namespace tarvonel
{

/// Looked for in the working directory.
inline constexpr const char *tuningFileName = "lichess-good.epd";

/// A position, set up: a pass over millions of them reads no text.
struct alignas(64) tuningPosition
{
    std::string fen; ///< each field followed by a blank
    posHead head;    ///< its table pointers are not used
    double label;    ///< win probability for white, 0 to 1
    std::uint8_t castling;
    std::uint8_t enPassant;
    std::uint8_t inCheck;
};

/// In the order of the file. Each run of the tuner adds its positions to those of the runs before.
/// Grows without moving what is there: a file may take half the machine's memory.
extern std::deque<tuningPosition> tuningPositions;

/// Scales a score into a probability, see `winProbability`. Kept from run to run.
extern double tuningK;

/// What a score in centipawns from white's view is worth for white, 0 to 1.
double winProbability(int whiteScore);

/// Reads the data file and labels its positions by the `tuningK` in force; false, with a message,
/// if there is no file, no network or no position to tune with. Sets each position up in `position`,
/// which keeps the last of them.
bool loadTuningPositions(pos &position, const tunerOutput &print);

/// The same from a stream, with a network in force. Tells how many positions were taken, and how
/// many lines were skipped if some hold no position. Where memory or stream fail, the positions of
/// earlier runs stay alone.
bool readTuningPositions(std::istream &file, pos &position, const tunerOutput &print);

} // namespace tarvonel
