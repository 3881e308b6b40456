// Files of whole games: about four bytes per position.
//
// A file is a sequence of records, one per game. All numbers are little-endian.
//
//   0   4  marker "TVG1"
//   4   2  number of plies n
//   6   1  result in half points for white, 0 to 2
//   7   1  zero
//   8  32  start position: one piece code per half byte, a1 in the low half of the first byte
//  40   1  side to move
//  41   1  castling rights
//  42   4  start squares of the castling rooks: by wing, then colour
//  46   1  square of a pawn that has just made a double step, else 0
//  47   1  plies since the last capture or pawn move
//  48   2  plies of the game before the start position
//  50  4n  per ply: the move (6 bits from, 6 bits to, 4 bits flag), then its score from the
//          side to move's view, `unscored` if it has none
//   ..  4  CRC-32 of all earlier bytes of the record
//
// A record that was cut off or fails its checksum is skipped by readers and removed before
// anything is appended.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/moveCode.h"
#include "movegen/gameRules.h"

namespace tarvonel
{

inline constexpr int unscored = -32768;
inline constexpr int longestStoredGame = 1000; ///< plies

/// A move and its score as the file holds them.
struct storedMove
{
    std::uint16_t move = 0;
    std::int16_t score = unscored;
};

/// A start position as the file holds it.
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

/// Sets up the board. Returns an empty text, or what is wrong with the stored position.
std::string unpackStart(const storedStart &start, posWithMoves &board);

/// Whether a move of the file is legal on the board.
bool isLegal(posWithMoves &board, moveCode move);

/// The record of a game.
std::vector<std::uint8_t> encodeGame(const storedGame &game);

/// Counts over a file.
struct gameFileSummary
{
    std::uint64_t games = 0;
    std::uint64_t positions = 0;
    std::uint64_t damagedBytes = 0; ///< outside whole records
    std::uint64_t soundEnd = 0;     ///< end of the last whole record
};

/// A file open for reading, record by record.
struct gameReader
{
    int descriptor = -1;
    std::uint64_t offset = 0; ///< of the next record
    std::uint64_t end = 0;    ///< of the file when it was opened, or of the part to read
    std::vector<std::uint8_t> buffer;
    std::uint64_t bufferOffset = 0; ///< place of the buffer in the file
    gameFileSummary summary;        ///< of the part read so far
};

/// False if the file cannot be read. An empty file has no games. The file may be changed by others
/// while it is read: it is not mapped. Copies of a reader share its descriptor and may be used in
/// different threads.
bool openGames(gameReader &reader, const std::string &path);

/// Reads the next whole record; false at the end of the file.
bool nextGame(gameReader &reader, storedGame &game);

void closeGames(gameReader &reader);

/// Reads a whole file; a missing file counts as empty.
gameFileSummary summariseGames(const std::string &path);

/// A file open for appending.
struct gameWriter
{
    std::string path;
    int descriptor = -1;
    gameFileSummary summary; ///< of the whole file
};

/// Opens or creates the file, waits until no other writer has it, and cuts off whatever follows the
/// last whole record. Throws std::runtime_error if the file cannot be written or holds something
/// other than games.
void openForAppending(gameWriter &writer, const std::string &path);

/// Writes one record. If the disk refuses it, removes what was written of it and throws
/// std::runtime_error: the games before it stay intact.
void appendGame(gameWriter &writer, const storedGame &game);

void closeWriter(gameWriter &writer);

} // namespace tarvonel
