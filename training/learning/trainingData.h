// Positions to learn from, 32 bytes each, and their way from game files into memory.
//
// The files are read in pieces of some hundred games, so that all cores replay games, and so that any
// mixture of pieces can be had in memory while the rest stays on the disk.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "board/pos.h"
#include "games/gameFile.h"
#include "platform/workCrew.h"

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

/// Which positions of a game are learnt from, and with which scores.
struct dataFilter
{
    int firstPly = 16;        ///< of the game, opening moves included
    int highestScore = 3000;  ///< centipawns for either side
    int widestBalance = 550;  ///< end-game half of material and placement; the network is asked up to 400
    int validationShare = 50; ///< one start in so many has its games kept for validation
    double laterScores = 0;   ///< weight of what the later plies expect, see `mixLaterScores`
    double scoreScale = 250;  ///< centipawns whose sigmoid is 1 / (1 + 1/e)
};

/// Some whole games that stand together in one file.
struct gamePiece
{
    std::size_t file = 0;
    std::uint64_t begin = 0, end = 0; ///< bytes
    std::size_t positions = 0;        ///< to learn from
};

struct trainingData
{
    std::vector<gameReader> files; ///< open
    std::vector<gamePiece> pieces;
    std::vector<trainingPosition> validation;
    std::uint64_t learnable = 0; ///< positions to learn from in all pieces
    std::uint64_t games = 0;
    std::uint64_t positions = 0;    ///< read, before the filter
    std::uint64_t damagedBytes = 0; ///< that belong to no whole record
    std::uint64_t badGames = 0;     ///< with a start position or move that is not legal
};

/// Opens the files and reads all of them once, to count and for the positions of validation. Pieces
/// beyond `capacity` positions are left out of learning. Empty text or what went wrong.
std::string openData(trainingData &data, const std::vector<std::string> &paths, const dataFilter &filter,
                     std::uint64_t capacity, workCrew &crew);
void closeData(trainingData &data);

/// Replaces `positions` by those of the pieces with the given numbers.
void readPieces(std::vector<trainingPosition> &positions, const trainingData &data,
                std::span<const std::uint32_t> numbers, const dataFilter &filter, workCrew &crew);

/// Puts in the place of each score what it and the later ones expect together: its own result with a
/// weight of 1 - factor, that of the next ply with the factor times as much, and so on to the end.
/// Plies without a score keep that.
void mixLaterScores(std::span<storedMove> moves, double factor, double scoreScale);

/// The expected result, from 0 to 1, that a score stands for.
double expectedResult(double score, double scoreScale);

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
