// The program's lines as the tuner reads them.
#include "tuningLines.h"

#include <regex>
#include <sstream>

#include "tuner/tunerFixture.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

class tuningLinesTest : public tunerFixture
{
};

TEST_F(tuningLinesTest, theTunerTakesWhatTheSeedGives)
{
    const auto linesFor = [](std::int64_t count, std::uint64_t seed)
    {
        std::ostringstream text;
        writeTuningLines(text, count, seed);
        return text.str();
    };
    const std::string text = linesFor(500, 1);
    EXPECT_EQ(text, linesFor(500, 1));
    EXPECT_NE(text, linesFor(500, 2));
    EXPECT_EQ(linesOf(text).size(), 500U);
    for (const std::string &each : linesOf(text))
        EXPECT_TRUE(std::regex_match(each, std::regex(".* c9 \"(1-0|0-1|1/2-1/2)\";"))) << each;
    read(text);
    EXPECT_EQ(printed, "") << "no line is skipped";
    EXPECT_GT(tuningPositions.size(), 200U);
    keepHandSetPositions();
    EXPECT_GT(tuningPositions.size(), 20U) << "some measure the hand-set terms";
}

} // namespace tarvonel
