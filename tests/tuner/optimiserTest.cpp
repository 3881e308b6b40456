#include "tuner/optimiser.h"

#include <algorithm>
#include <cstdio>

#include "eval/evalTerms.h"
#include "tuner/texelWorker.h"
#include "tuner/tunerFixture.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

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
    read(randomFileText(60));
    const double found = findK(print);
    const auto errorOf = [](double k)
    {
        tuningK = k;
        return errorByDefinition();
    };
    const double smallest = errorOf(found);
    std::vector<double> tried;
    for (const std::string &each : linesOf(printed))
        if (double k = 0, error = 0;
            std::sscanf(each.c_str(), "Trying the following K value %lf error: %lf", &k, &error) == 2)
        {
            tried.push_back(k);
            const double expected = errorOf(k);
            EXPECT_NEAR(error, expected, 1e-5 * error) << k;
            EXPECT_GE(expected, smallest * (1 - 1e-9)) << "better than " << found << ": " << k;
        }
    ASSERT_GE(tried.size(), 5U * 20U);
    EXPECT_EQ(tried[0], 0);
    EXPECT_NEAR(tried[1], 0.1, 1e-9);
    EXPECT_NEAR(tried.back(), found + 0.0001, 0.00002) << "the last sweep goes one step beyond the best";
    EXPECT_LT(smallest, std::min(errorOf(found - 0.01), errorOf(found + 0.01)));
    EXPECT_EQ(linesOf(printed).back() + "\n", lineOf(" Optimal K calculated : ", found));
}

TEST_F(optimiserTest, kBeyondTheFirstSweepMovesTheSweep)
{
    useLabelsOfTheShippedTerms();
    tuningK = 1; // the labels stay those of 3.55
    EXPECT_NEAR(findK(print), 3.55, 0.001);
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
