// Positions to learn from, 32 bytes each, and their way from game files into memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/pos.h"
#include "games/gameFile.h"

namespace tarvonel
{

struct trainingPosition
{
    bitboard occupied = 0;
    std::uint8_t men[16] = {}; ///< piece codes in half bytes, from the lowest occupied square on
    std::int16_t score = 0;    ///< centipawns from the side to move's view
    std::uint8_t points = 1;   ///< half points of the side to move at the end of its game
    std::uint8_t sideToMove = white;
    std::uint8_t pawns = 0;
    std::uint8_t phase = 0;       ///< 0 to 24
    std::uint8_t hasCastling = 0; ///< any right to castle: then left and right differ
    std::uint8_t isMirrored = 0;  ///< to be seen with left and right exchanged
};
static_assert(sizeof(trainingPosition) == 32);

inline constexpr int mostMen = 32;

trainingPosition packPosition(const pos &position, int score, int points);

/// Which positions of a game are learnt from.
struct dataFilter
{
    int firstPly = 16;        ///< of the game, opening moves included
    int highestScore = 3000;  ///< centipawns for either side
    int widestBalance = 550;  ///< end-game half of material and placement; the network is asked up to 400
    int validationShare = 50; ///< one start in so many has its games kept for validation
};

struct trainingData
{
    std::vector<trainingPosition> training;
    std::vector<trainingPosition> validation;
    std::uint64_t games = 0;
    std::uint64_t positions = 0;    ///< read, before the filter
    std::uint64_t damagedBytes = 0; ///< that belong to no whole record
    std::uint64_t badGames = 0;     ///< with a start position or move that is not legal
};

/// Appends the positions of one file, until `training` has `capacity` of them. Empty text or what
/// went wrong.
std::string loadPositions(trainingData &data, const std::string &path, const dataFilter &filter, std::size_t capacity);

/// Whether a quiet position is asked of the network: its score is settled enough and its balance
/// near enough to level. `best` is the move that was played.
bool isWorthLearning(const pos &position, moveCode best, int score, const dataFilter &filter);

/// What the network is told of a position: for each side, the side to move first, its features.
struct featureList
{
    int count = 0;
    std::uint16_t features[colourCount][mostMen];
};
void listFeatures(const trainingPosition &position, featureList &list);

/// The network's output of 1 in centipawns at this position: the weight that the engine gives it.
double outputScale(const trainingPosition &position);

} // namespace tarvonel
