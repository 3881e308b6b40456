// Statistics of a match: rating difference, its error bar, and the sequential probability ratio test.
//
// The two games of one opening with colours changed are not independent, so the unit of all
// statistics is the pair: its score is 0, 1/4, 1/2, 3/4 or 1.
#pragma once

#include <cstdint>

namespace tarvonel
{

inline constexpr int pairOutcomes = 5;

/// From the first engine's view.
struct matchTally
{
    std::int64_t wins = 0;
    std::int64_t draws = 0;
    std::int64_t losses = 0;
    std::int64_t pairs[pairOutcomes] = {}; ///< finished pairs by their half points, 0 to 4
};

struct eloEstimate
{
    double score = 0.5; ///< share of the points
    double elo = 0;     ///< plus or minus infinity when all games ended alike
    double margin = 0;  ///< half-width of the 95% interval; 0 with fewer than two pairs, or no finite elo
};

/// Adds one game, `halfPoints` 0, 1 or 2.
void countGame(matchTally &tally, int halfPoints);
/// Adds the sum of a pair's two games, 0 to 4.
void countPair(matchTally &tally, int halfPoints);

eloEstimate estimateElo(const matchTally &tally);

/// Expected score of an engine that is `elo` stronger.
double expectedScore(double elo);

/// Log-likelihood ratio of "the first engine is elo1 stronger" against "elo0", by the normal
/// approximation over the finished pairs; 0 while there are none.
double logLikelihoodRatio(const matchTally &tally, double elo0, double elo1);

/// The bounds of the ratio between which the test goes on, for error rates `alpha` and `beta`.
double lowerBound(double alpha, double beta);
double upperBound(double alpha, double beta);

} // namespace tarvonel
