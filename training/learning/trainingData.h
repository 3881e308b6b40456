// Training positions, 32 bytes each, and how they are read from game files.
//
// Files are read in chunks of some hundred games: threads replay chunks in parallel, and a random
// selection of chunks can be in memory while the rest stays on the disk.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "board/pos.h"
#include "games/gameFile.h"
#include "games/positionFilter.h"
#include "platform/threadPool.h"

namespace tarvonel
{

struct trainingPosition
{
    bitboard occupied = 0;
    std::uint8_t pieces[16] = {}; ///< piece codes in half bytes, by ascending square
    std::uint16_t target = 0;     ///< expected result for the side to move, 1 being `fullTarget`
    std::uint8_t sideToMove = white;
    std::uint8_t pawns = 0;
    std::uint8_t phase = 0;       ///< 0 to 24
    std::uint8_t hasCastling = 0; ///< any castling right: then the mirror image differs in value
    std::uint8_t isMirrored = 0;  ///< trained on with left and right exchanged
    std::uint8_t unused = 0;
};
static_assert(sizeof(trainingPosition) == 32);

inline constexpr int maxPieces = 32;
inline constexpr double fullTarget = UINT16_MAX;

/// `target` is an expected result from 0 to 1.
trainingPosition packPosition(const pos &position, double target);

/// What the target of a position is made of: see `gameTargets`.
struct targetSettings
{
    double wdlWeight = 0;    ///< weight of the game's result at its last ply
    double wdlDecay = 1;     ///< factor on that weight for each ply before the last one
    double tdLambda = 0;     ///< weight of what the later plies expect
    double scoreScale = 250; ///< centipawns whose sigmoid is 1 / (1 + 1/e)
};

/// Which positions of a game are used, and with which targets.
struct dataSettings
{
    positionFilter filter;
    int validationShare = 50; ///< one start in this many has its games kept for validation
    double gameShare = 1;     ///< of each game's positions that one pass trains on
    targetSettings target;
};

/// Selects the share of each game's positions that a pass trains on. Successive passes of one seed
/// take successive slices of the game's positions in random order: a share of 1/3 has seen each
/// position once after three passes.
struct passNumber
{
    std::uint64_t seed = 0;
    std::uint64_t pass = 0; ///< from 0
};

/// Consecutive games of one file.
struct gameChunk
{
    std::size_t file = 0;
    std::uint64_t begin = 0, end = 0; ///< bytes
    std::size_t positions = 0;        ///< that a pass trains on
};

struct trainingData
{
    std::vector<gameReader> files; ///< open
    std::vector<gameChunk> chunks;
    std::vector<trainingPosition> validation;
    std::uint64_t passPositions = 0; ///< of all chunks, that a pass trains on
    std::uint64_t games = 0;
    std::uint64_t positions = 0;    ///< of all games, suitable or not
    std::uint64_t damagedBytes = 0; ///< outside whole records
    std::uint64_t badGames = 0;     ///< with an illegal start position or move
};

/// Opens the files and reads all of them once, to count positions and to keep those for validation. Leaves
/// out chunks beyond `capacity` positions. Throws std::runtime_error if a file cannot be read.
void openData(trainingData &data, const std::vector<std::string> &paths, const dataSettings &settings,
              std::uint64_t capacity, threadPool &pool);
void closeData(trainingData &data);

/// A file no longer holds the games that `openData` found in it.
struct gameFileChanged : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Replaces `positions` by those that the pass takes from the chunks with the given numbers. Throws
/// `gameFileChanged`.
void readChunks(std::vector<trainingPosition> &positions, const trainingData &data,
                std::span<const std::uint32_t> numbers, const dataSettings &settings, const passNumber &pass,
                threadPool &pool);

/// The expected result, from 0 to 1, of a score for the side that it favours.
double expectedResult(double score, double scoreScale);

/// The targets of a game's plies, each the result that the side to move there can expect, from 0 to 1.
///
/// TD(lambda): from the last ply back, v = (1 - lambda) x sigmoid(score) + lambda x the v of the next
/// ply, where the game's result follows the last ply. A ply without a score takes over the v of the
/// next one. The result then enters once more, with its weight w at this ply:
/// target = w x result + (1 - w) x v.
std::vector<double> gameTargets(const storedGame &game, const targetSettings &settings);

/// The network's input: the features from each side's view, the side to move first.
struct featureList
{
    int count = 0;
    std::uint16_t features[colourCount][maxPieces];
};
void listFeatures(const trainingPosition &position, featureList &list);

/// Centipawns per unit of network output at this position.
double outputScale(const trainingPosition &position);

} // namespace tarvonel
