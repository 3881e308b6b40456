#include "tuner/tunerFixture.h"

#include <sstream>

#include "eval/evalTerms.h"
#include "eval/evaluate.h"
#include "eval/evaluationSupport.h"
#include "support/randomGames.h"
#include "support/syntheticNetwork.h"
#include "tuner/texelWorker.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

namespace
{

constexpr double startingK = 3.55;

void resetTuner()
{
    tuningPositions.clear();
    tuningK = startingK;
    tunableTerms = shippedTerms;
}

} // namespace

void tunerFixture::SetUp()
{
    useSyntheticNetwork();
    resetTuner();
}

void tunerFixture::TearDown()
{
    createTexelWorkers(0, print);
    resetTuner();
}

void tunerFixture::read(const std::string &fileText)
{
    std::istringstream file(fileText);
    readTuningPositions(file, *position, print);
}

void tunerFixture::labelByTerms()
{
    for (tuningPosition &each : tuningPositions)
    {
        evaluationPosition fresh(each.fen);
        const int score = evaluateTunable(0, *fresh);
        each.label = winProbability(fresh->sideToMove == white ? score : -score);
    }
}

std::string randomFileText(int games)
{
    std::string text;
    int number = 0;
    playRandomGames({.seed = 7, .games = games, .plies = 120},
                    [&](const pos &, const bruteForce::letterBoard &board)
                    {
                        if (number++ % 3 == 0)
                            text += bruteForce::writeFen(board, false) + " c9 \"1-0\";\n";
                    });
    return text;
}

int freshWhiteScore(const std::string &fen)
{
    evaluationPosition fresh(fen);
    const int score = evaluate(0, *fresh);
    return fresh->sideToMove == white ? score : -score;
}

std::vector<std::string> linesOf(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> all;
    for (std::string each; std::getline(stream, each);)
        all.push_back(each);
    return all;
}

} // namespace tarvonel
