// Files of whole games: about four bytes a position.
//
// A file is a sequence of records, one for each game. All numbers are little-endian.
//
//   0   4  marker "TVG1"
//   4   2  number of plies n
//   6   1  result in half points for white, 0 to 2
//   7   1  zero
//   8  32  start position: a piece code in each half byte, a1 in the low half of the first byte
//  40   1  side to move
//  41   1  castling rights
//  42   4  start squares of the castling rooks: by wing, then colour
//  46   1  square of a pawn that has just made a double step, else 0
//  47   1  plies since the last capture or pawn move
//  48   2  plies of the game before the start position
//  50  4n  for each ply: the move (6 bits from, 6 bits to, 4 bits flag), then its score from the
//          side to move's view, `unscored` where there is none
//   ..  4  CRC-32 of all bytes of the record before it
//
// Records are written whole. A record that was cut off, or does not match its checksum, is passed
// over by readers and taken away before anything is appended.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/moveCode.h"
#include "movegen/gameRules.h"
#include "platform/fileMapping.h"

namespace tarvonel
{

inline constexpr int unscored = -32768;
inline constexpr int longestStoredGame = 1000; ///< plies

struct storedMove
{
    std::uint16_t move = 0;
    std::int16_t score = unscored;
};

/// A start position, as the file holds it.
struct storedStart
{
    std::uint8_t board[32] = {};
    std::uint8_t sideToMove = white;
    std::uint8_t castling = 0;
    std::uint8_t castleRook[4] = {};
    std::uint8_t enPassant = 0;
    std::uint8_t fiftyCount = 0;
};

struct storedGame
{
    storedStart start;
    int earlierPlies = 0;
    int whitePoints = 1; ///< half points
    std::vector<storedMove> moves;
};

constexpr std::uint16_t packMove(moveCode move)
{
    return static_cast<std::uint16_t>(moveFrom(move) | moveTo(move) << 6 | moveFlagOf(move) << 12);
}
constexpr moveCode unpackMove(std::uint16_t packed) { return encodeMove(packed & 63, packed >> 6 & 63, packed >> 12); }

storedStart packStart(const pos &position);

/// Sets up the board; an empty text or what is wrong with the stored position.
std::string unpackStart(const storedStart &start, posWithMoves &board);

std::vector<std::uint8_t> encodeGame(const storedGame &game);

/// What a file holds.
struct gameFileSummary
{
    std::uint64_t games = 0;
    std::uint64_t positions = 0;
    std::uint64_t damagedBytes = 0; ///< that belong to no whole record
    std::uint64_t soundEnd = 0;     ///< end of the last whole record
};

/// A file being read, record by record.
struct gameReader
{
    fileMapping mapping;
    std::uint64_t offset = 0;
    gameFileSummary summary; ///< of what has been passed
};

/// False if the file cannot be read. An empty file has no games.
bool openGames(gameReader &reader, const std::string &path);

/// The next whole record; false at the end of the file.
bool nextGame(gameReader &reader, storedGame &game);

void closeGames(gameReader &reader);

/// Reads a whole file for its summary; a file that is not there counts as empty.
gameFileSummary summariseGames(const std::string &path);

/// A file that games are appended to.
struct gameWriter
{
    int descriptor = -1;
    gameFileSummary summary;
};

/// Opens or creates the file, waits until no other process appends to it, cuts off what stands behind
/// its last whole record, and tells in `summary` what it already holds. Empty text or what went
/// wrong; a file that holds something else is refused.
std::string openForAppending(gameWriter &writer, const std::string &path);

/// Writes one record; false when the disk refuses it.
bool appendGame(gameWriter &writer, const storedGame &game);

void closeWriter(gameWriter &writer);

} // namespace tarvonel
