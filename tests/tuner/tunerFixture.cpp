#include "tuner/tunerFixture.h"

#include <cmath>
#include <cstdlib>
#include <random>
#include <sstream>

#include "board/setup.h"
#include "eval/evalTerms.h"
#include "eval/evaluate.h"
#include "eval/evaluationSupport.h"
#include "support/syntheticNetwork.h"
#include "tuner/texelWorker.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

namespace
{

constexpr double startingK = 3.55;
constexpr int handSetBalance = 400;
constexpr int outerBalance = 600;

/// The kings, up to six pawns and up to four pieces of each colour, anywhere.
std::string randomFen(std::mt19937 &random)
{
    std::string squares(64, '1');
    const auto put = [&](char letter)
    {
        const bool isPawn = letter == 'P' || letter == 'p';
        for (;;)
            if (char &square = squares[isPawn ? 8 + random() % 48 : random() % 64]; square == '1')
            {
                square = letter;
                return;
            }
    };
    for (const std::string letters : {"KPNBRQ", "kpnbrq"})
    {
        put(letters[0]);
        for (auto pawns = random() % 7; pawns > 0; --pawns)
            put(letters[1]);
        for (auto pieces = random() % 5; pieces > 0; --pieces)
            put(letters[2 + random() % 4]);
    }
    for (std::size_t rank = 7; rank > 0; --rank)
        squares.insert(8 * rank, "/");
    return squares + (random() % 2 == 0 ? " w" : " b") + " - - 0 1";
}

/// The score with fresh tables, from white's view.
int freshWhiteScore(const std::string &fen, int (*evaluator)(int, pos &))
{
    evaluationPosition fresh(fen);
    const int score = evaluator(0, *fresh);
    return fresh->sideToMove == white ? score : -score;
}

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

void tunerFixture::keepHandSetPositions()
{
    std::erase_if(tuningPositions,
                  [](const tuningPosition &each) { return std::abs(endGameBalance(each.head)) < handSetBalance; });
}

void tunerFixture::labelByTerms()
{
    for (tuningPosition &each : tuningPositions)
        each.label = winProbability(freshWhiteScore(each.fen, evaluateTunable));
}

std::string randomFileText(int count)
{
    std::mt19937 random(7);
    const auto position = std::make_unique<pos>();
    std::string text;
    for (int taken = 0; taken < count;)
    {
        const std::string fen = randomFen(random);
        if (!setupPlayablePosition(fen, *position).empty())
            continue;
        const int size = std::abs(endGameBalance(*position));
        if (size >= outerBalance || (size < handSetBalance && taken % 3 == 0))
            continue;
        text += fen + " c9 \"1-0\";\n";
        ++taken;
    }
    return text;
}

int endGameBalance(const posHead &head)
{
    return egOf(head.material[white] - head.material[black] + head.squareScore[white] - head.squareScore[black]);
}

double errorByDefinition()
{
    double sum = 0;
    for (const tuningPosition &each : tuningPositions)
    {
        const int score = freshWhiteScore(each.fen, evaluate);
        sum += std::pow(each.label - 1 / (1 + std::exp(-tuningK * score / 400)), 2);
    }
    return sum / static_cast<double>(tuningPositions.size());
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
