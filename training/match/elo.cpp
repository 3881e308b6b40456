#include "match/elo.h"

#include <cmath>
#include <limits>

namespace tarvonel
{

namespace
{

constexpr double eloScale = 400.0;
constexpr double interval95 = 1.959964;
constexpr double prior = 1e-3; ///< added to each outcome: a few equal pairs still have a variance

struct sampleMoments
{
    double count = 0;
    double mean = 0.5;
    double variance = 0;
};

sampleMoments pairMoments(const matchTally &tally, double added)
{
    sampleMoments moments;
    double sum = 0;
    double squares = 0;
    for (int i = 0; i < pairOutcomes; ++i)
    {
        const double weight = static_cast<double>(tally.pairs[i]) + added;
        const double value = i / 4.0;
        moments.count += weight;
        sum += weight * value;
        squares += weight * value * value;
    }
    if (moments.count > 0)
    {
        moments.mean = sum / moments.count;
        moments.variance = squares / moments.count - moments.mean * moments.mean;
    }
    return moments;
}

double eloOfScore(double score)
{
    if (score <= 0)
        return -std::numeric_limits<double>::infinity();
    return score >= 1 ? std::numeric_limits<double>::infinity() : eloScale * std::log10(score / (1 - score));
}

} // namespace

void countGame(matchTally &tally, int halfPoints)
{
    ++(halfPoints == 2 ? tally.wins : halfPoints == 1 ? tally.draws : tally.losses);
}

void countPair(matchTally &tally, int halfPoints) { ++tally.pairs[halfPoints]; }

eloEstimate estimateElo(const matchTally &tally)
{
    eloEstimate estimate;
    const double games = static_cast<double>(tally.wins + tally.draws + tally.losses);
    if (games == 0)
        return estimate;
    estimate.score = (static_cast<double>(tally.wins) + static_cast<double>(tally.draws) / 2) / games;
    estimate.elo = eloOfScore(estimate.score);
    const sampleMoments moments = pairMoments(tally, 0);
    if (moments.count < 2 || !std::isfinite(estimate.elo))
        return estimate;
    const double deviation = interval95 * std::sqrt(moments.variance / moments.count);
    const double low = eloOfScore(estimate.score - deviation);
    const double high = eloOfScore(estimate.score + deviation);
    estimate.margin = (high - low) / 2;
    return estimate;
}

double expectedScore(double elo) { return 1 / (1 + std::pow(10.0, -elo / eloScale)); }

double logLikelihoodRatio(const matchTally &tally, double elo0, double elo1)
{
    if (pairMoments(tally, 0).count == 0)
        return 0;
    const sampleMoments moments = pairMoments(tally, prior);
    const double score0 = expectedScore(elo0);
    const double score1 = expectedScore(elo1);
    return moments.count * (score1 - score0) * (2 * moments.mean - score0 - score1) / (2 * moments.variance);
}

double lowerBound(double alpha, double beta) { return std::log(beta / (1 - alpha)); }
double upperBound(double alpha, double beta) { return std::log((1 - beta) / alpha); }

} // namespace tarvonel
