#include "provisionalWeights.h"

#include <algorithm>
#include <cmath>

#include "board/combEval.h"
#include "board/pieceValues.h"

// How the parts work together:
//
// A first-layer lane holds the balance D of own against enemy men in units of 20 centipawns, plus
// an offset. The same lane of the other half holds the offset minus D, so their difference is 2D
// as long as neither leaves 0..127. The first 128 lanes count middle-game values, and the phase is
// added to their offsets: they are all in range with a full board and fall below 0 one after the
// other as men go. The other 128 count end-game values, and the phase is taken off. So the share of
// lanes in range blends the two, as the hand-set evaluation does.
//
// Rounding to 20 centipawns is made up for by rounding each man's value up in as many lanes as its
// remainder is worth, spread evenly over the lanes.
//
// The hidden layers have to carry one number through outputs that hold no more than 127 each: they
// count it up like a column of mercury, output 0 filling first, each taking over where the one
// below is full.

namespace tarvonel
{

namespace
{

constexpr int phaseLanes = accumulatorLanes / 2;
constexpr double centipawnsPerUnit = 20;
constexpr int phaseStep = 5; ///< how far one point of phase moves a lane's offset
// Offsets where a group of lanes is at home, leaving room for 22 units of balance on either side.
constexpr int lowestOffset = 22, highestOffset = simd::activationMax - lowestOffset;

// One unit of the hidden layers is worth about half a centipawn; the output weight makes of it what
// the scaling by men on the board expects, about 18 with a full board and 25 in an end game.
constexpr int middleGameGain = 10, endGameGain = 14, outputGain = 9;
constexpr int tempoOutput = 440;
constexpr int fullColumn = hiddenOutputs * simd::activationMax;
constexpr int hiddenScale = 1 << simd::hiddenShift;

/// A number from 0 to 1 for each feature and lane; any stretch of lanes covers the range evenly.
double ditherOf(int feature, int lane)
{
    constexpr double goldenRatio = 0.6180339887498949, plasticRatio = 0.7548776662466927;
    const double place = lane * goldenRatio + feature * plasticRatio;
    return place - std::floor(place);
}

/// Middle-game or end-game value of a man on a square as its owner sees it.
int valueOf(int type, int ownSquare, bool endGame)
{
    const combEval material = type == king ? 0 : pieceValue[type];
    const combEval placed = pieceSquareScore[type][tableSquare(white, ownSquare)];
    return endGame ? egOf(material) + egOf(placed) : mgOf(material) + mgOf(placed);
}

void fillFeatureRow(std::int16_t *row, int pieceIndex, int square)
{
    const int type = pieceIndex / 2;
    const bool isEnemy = pieceIndex % 2 == 1;
    const int ownSquare = isEnemy ? square ^ flipRanks : square;
    for (int lane = 0; lane < accumulatorLanes; ++lane)
    {
        const bool endGame = lane >= phaseLanes;
        const double units = valueOf(type, ownSquare, endGame) / centipawnsPerUnit;
        // The same man counts alike for its owner and against the enemy.
        const int rounded = static_cast<int>(std::floor(units + ditherOf(type * squareCount + ownSquare, lane)));
        const int phaseShift = phaseStep * phaseValue[type];
        row[lane] = static_cast<std::int16_t>((isEnemy ? -rounded : rounded) + (endGame ? -phaseShift : phaseShift));
    }
}

void fillFirstLayer(networkWeights &weights)
{
    for (int lane = 0; lane < phaseLanes; ++lane)
    {
        const int offset = lowestOffset + lane * (highestOffset - lowestOffset) / (phaseLanes - 1);
        weights.featureBias[lane] = static_cast<std::int16_t>(offset - phaseStep * fullPhase);
        weights.featureBias[lane + phaseLanes] = static_cast<std::int16_t>(offset);
    }
    for (int f = 0; f < kingSquareFeatures; ++f)
        fillFeatureRow(weights.featureWeight[f], f / squareCount, f % squareCount);
    for (int f = kingSquareFeatures; f < featureCount; ++f)
        std::copy_n(weights.featureWeight[f % kingSquareFeatures], accumulatorLanes, weights.featureWeight[f]);
}

} // namespace

void makeProvisionalWeights(networkWeights &weights)
{
    fillFirstLayer(weights);
    for (int o = 0; o < hiddenOutputs; ++o)
    {
        for (int k = 0; k < networkInputs; ++k)
        {
            const int gain = k % accumulatorLanes < phaseLanes ? middleGameGain : endGameGain;
            weights.hidden1Weight[o][k] = static_cast<std::int16_t>(k < accumulatorLanes ? gain : -gain);
        }
        weights.hidden1Bias[o] = hiddenScale * (fullColumn / 2 - simd::activationMax * o);
        std::fill_n(weights.hidden2Weight[o], hiddenOutputs, static_cast<std::int16_t>(hiddenScale));
        weights.hidden2Bias[o] = -hiddenScale * simd::activationMax * o;
        weights.outputWeight[o] = outputGain;
    }
    weights.outputBias = tempoOutput - outputGain * fullColumn / 2;
}

} // namespace tarvonel
