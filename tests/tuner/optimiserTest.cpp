#include "tuner/optimiser.h"

#include <cmath>
#include <cstdio>

#include "eval/evalTerms.h"
#include "tuner/texelWorker.h"
#include "tuner/tunerFixture.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

namespace
{

/// The values of a K line: K and error.
std::vector<std::pair<double, double>> triedValues(const std::string &text)
{
    std::vector<std::pair<double, double>> values;
    for (const std::string &each : linesOf(text))
        if (double k = 0, error = 0;
            std::sscanf(each.c_str(), "Trying the following K value %lf error: %lf", &k, &error) == 2)
            values.emplace_back(k, error);
    return values;
}

} // namespace

class optimiserTest : public tunerFixture
{
  protected:
    void SetUp() override
    {
        tunerFixture::SetUp();
        createTexelWorkers(2, [](std::string_view) {});
    }

    /// Positions whose labels the shipped terms meet exactly.
    void useLabelsOfTheShippedTerms()
    {
        read(randomFileText(600));
        keepHandSetPositions();
        labelByTerms();
        ASSERT_EQ(meanError(), 0);
    }
};

TEST_F(optimiserTest, kIsTheOneOfTheSmallestErrorInEverFinerSweeps)
{
    read(randomFileText(200));
    std::vector<int> scores;
    for (const tuningPosition &each : tuningPositions)
        scores.push_back(freshWhiteScore(each.fen));
    const auto errorOf = [&scores](double k)
    {
        double sum = 0;
        for (std::size_t i = 0; i < scores.size(); ++i)
            sum += std::pow(tuningPositions[i].label - 1 / (1 + std::exp(-k * scores[i] / 400)), 2);
        return sum / static_cast<double>(scores.size());
    };

    const double found = findK(print);
    const std::vector<std::pair<double, double>> tried = triedValues(printed);
    ASSERT_GE(tried.size(), 5U * 20U);
    EXPECT_EQ(tried[0].first, 0);
    EXPECT_NEAR(tried[1].first, 0.1, 1e-9);
    for (const auto &[k, error] : tried)
    {
        EXPECT_NEAR(error, errorOf(k), 1e-5 * error) << k;
        EXPECT_GE(errorOf(k), errorOf(found) * (1 - 1e-9)) << "better than " << found << ": " << k;
    }
    EXPECT_NEAR(tried.back().first, found + 0.0001, 0.00002) << "the last sweep goes one step beyond the best";
    EXPECT_LT(errorOf(found), errorOf(found - 0.01));
    EXPECT_LT(errorOf(found), errorOf(found + 0.01));
    EXPECT_EQ(linesOf(printed).back(),
              lineOf(" Optimal K calculated : ", found).substr(0, linesOf(printed).back().size()));
}

TEST_F(optimiserTest, kBeyondTheFirstSweepMovesTheSweep)
{
    useLabelsOfTheShippedTerms();
    tuningK = 1; // the labels stay those of 3.55
    EXPECT_NEAR(findK(print), 3.55, 0.001);
}

TEST_F(optimiserTest, anEmptyListEndsAfterOnePass)
{
    read(randomFileText(50));
    parameterList none;
    optimise(none, print);
    const std::string error = lineOf(meanError());
    EXPECT_EQ(printed, "Starting error " + error + "\n Improving: 1\nEnding error " +
                           error.substr(0, error.size() - 1) + " Minimum error " + error);
}

TEST_F(optimiserTest, aWrongStartingValueRecovers)
{
    useLabelsOfTheShippedTerms();
    parameterList parameters;
    tunableTerms.frame.tempo = shippedTerms.frame.tempo - X(5, 0);
    addTable(parameters,
             {.name = "tempo", .first = &tunableTerms.frame.tempo, .printKind = singleConstant, .stepIndex = 3});
    const std::string start = lineOf("Starting error ", meanError());
    optimise(parameters, print);
    EXPECT_EQ(tunableTerms.frame.tempo, shippedTerms.frame.tempo);
    EXPECT_EQ(printed, start + "Min error 0 parameter 0 tempo stepsize 3\n"
                               "\n Improving: 1\n"
                               "\n Improving: 2\n"
                               "TCONST combEval tempo = X(  25,  17);\n"
                               "Ending error 0 Minimum error 0\n");
}

TEST_F(optimiserTest, severalTermsOfAllKindsRecover)
{
    useLabelsOfTheShippedTerms();
    parameterList parameters;
    addTable(parameters, {.name = "bishopPair", .first = &tunableTerms.frame.bishopPair, .printKind = singleConstant});
    addTable(parameters, {.name = "knightMobility[9]",
                          .first = tunableTerms.pieces.knightMobility,
                          .size = 9,
                          .halves = tunedHalves::endGame,
                          .stepIndex = 4});
    addTable(parameters, {.name = "complexityPerPawn",
                          .first = &tunableTerms.frame.complexityPerPawn,
                          .halves = tunedHalves::integer,
                          .printKind = singleConstant,
                          .stepIndex = 4});
    addTable(parameters, {.name = "isolated[8]", .first = tunableTerms.pawns.isolated, .size = 8, .stepIndex = 1});
    tunableTerms.pieces.knightMobility[3] += X(0, 9);
    tunableTerms.frame.complexityPerPawn -= 14;

    const double before = meanError();
    optimise(parameters, print);
    EXPECT_LT(meanError(), before / 100);
    EXPECT_NEAR(egOf(tunableTerms.pieces.knightMobility[3]), egOf(shippedTerms.pieces.knightMobility[3]), 3);
    EXPECT_NEAR(tunableTerms.frame.complexityPerPawn, shippedTerms.frame.complexityPerPawn, 1);
    for (int file = fileA; file <= fileH; ++file)
        EXPECT_NEAR(mgOf(tunableTerms.pawns.isolated[file]), mgOf(shippedTerms.pawns.isolated[file]), 5);
}

TEST_F(optimiserTest, aTermWithoutEffectKeepsItsValue)
{
    read("4k3/8/8/8/8/8/8/4K3 w - - 0 1 c9 \"1/2-1/2\";\n");
    parameterList parameters;
    addTable(parameters, {.name = "tempo", .first = &tunableTerms.frame.tempo, .stepIndex = 4});
    optimise(parameters, print);
    EXPECT_EQ(tunableTerms.frame.tempo, shippedTerms.frame.tempo);
    EXPECT_EQ(parameters[0].stepIndex, 0);
    EXPECT_EQ(parameters[1].stepIndex, 0);
}

} // namespace tarvonel
