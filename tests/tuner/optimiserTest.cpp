#include "tuner/optimiser.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>
#include <vector>

#include "eval/evaluate.h"
#include "eval/evaluationSupport.h"
#include "support/temporaryDirectory.h"
#include "tuner/tunerFixture.h"

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
        read(randomFileText(3000));
        const auto taken = std::exchange(tuningPositions, {});
        for (tuningPosition each : taken)
            if (evaluationPosition fresh(each.fen); std::abs(egOf(balance(*fresh))) >= networkLimit)
            {
                each.label = winProbability(handSetScore(*fresh));
                tuningPositions.push_back(each);
            }
        printed.clear();
        ASSERT_EQ(meanError(), 0);
    }
};

TEST_F(optimiserTest, kIsTheOneOfTheSmallestErrorInEverFinerSweeps)
{
    useLabelsOfTheShippedTerms();
    tuningK = 1; // the labels remain those of 3.55, which is outside the first sweep
    const double found = findK(print);
    EXPECT_NEAR(found, 3.55, 0.001);

    std::vector<double> tried;
    std::istringstream text(printed);
    for (std::string each; std::getline(text, each);)
        if (double k = 0; std::sscanf(each.c_str(), "Trying the following K value %lf error: ", &k) == 1)
            tried.push_back(k);
    ASSERT_GE(tried.size(), 5U * 20U);
    EXPECT_EQ(tried[0], 0);
    EXPECT_NEAR(tried[1], 0.1, 1e-9);
    EXPECT_NEAR(tried.back(), found + 0.0001, 0.00002) << "the last sweep goes one step beyond the best";
    EXPECT_TRUE(printed.ends_with(lineOf("\n Optimal K calculated : ", found))) << printed;
}

TEST_F(optimiserTest, aStartingValueTooLowOrTooHighRecovers)
{
    useLabelsOfTheShippedTerms();
    for (const int offset : {-5, 5})
    {
        parameterList parameters;
        tunableTerms.global.tempo = shippedTerms.global.tempo + X(offset, 0);
        addTable(parameters,
                 {.name = "tempo", .first = &tunableTerms.global.tempo, .printKind = singleConstant, .stepIndex = 3});
        const std::string start = lineOf("Starting error ", meanError());
        printed.clear();
        optimise(parameters, print);
        EXPECT_EQ(tunableTerms.global.tempo, shippedTerms.global.tempo);
        EXPECT_EQ(printed, start + "Min error 0 parameter 0 tempo stepsize 3\n"
                                   "\n Improving: 1\n"
                                   "\n Improving: 2\n"
                                   "TCONST combEval tempo = X(  25,  17);\n"
                                   "Ending error 0 Minimum error 0\n");
    }
}

std::int32_t untunedRow[8] = {1, 2, 3, 4};

TEST_F(optimiserTest, aRunBeginsAndEndsWithTheParametersAndTheirMirrorImages)
{
    const temporaryDirectory directory;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory.path);
    std::ofstream(tuningFileName) << randomFileText(5);
    const auto enter = [](parameterList &parameters)
    {
        addTable(parameters,
                 {.name = "row[8]", .first = untunedRow, .size = 4, .halves = tunedHalves::integer, .mirrored = true});
    };
    EXPECT_TRUE(texel(1, *position, print, enter));
    EXPECT_NE(printed.find(lineOf(" Optimal K calculated : ", tuningK)), std::string::npos) << tuningK;
    std::filesystem::current_path(before);
    const std::string row = "1, 2, 3, 4, 4, 3, 2, 1";
    EXPECT_LT(printed.find(row), printed.find("Starting error")) << printed;
    EXPECT_TRUE(printed.ends_with(row + "\n};\n")) << printed;
}

} // namespace tarvonel
