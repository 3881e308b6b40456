// The program's lines as the tuner reads them.
#include "tuningLines.h"

#include <sstream>

#include "tuner/tunerFixture.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

namespace
{

std::string linesFor(std::int64_t count, std::uint64_t seed)
{
    std::ostringstream text;
    writeTuningLines(text, count, seed);
    return text.str();
}

} // namespace

class tuningLinesTest : public tunerFixture
{
};

TEST_F(tuningLinesTest, theTunerTakesThem)
{
    const std::string text = linesFor(500, 1);
    EXPECT_EQ(linesOf(text).size(), 500U);
    for (const std::string &each : linesOf(text))
        EXPECT_TRUE(each.ends_with(" c9 \"1-0\";") || each.ends_with(" c9 \"0-1\";") ||
                    each.ends_with(" c9 \"1/2-1/2\";"))
            << each;
    read(text);
    EXPECT_EQ(printed, "") << "no line is skipped";
    EXPECT_GT(tuningPositions.size(), 200U);
    keepHandSetPositions();
    EXPECT_GT(tuningPositions.size(), 20U) << "some measure the hand-set terms";
}

TEST_F(tuningLinesTest, theSeedDecides)
{
    EXPECT_EQ(linesFor(100, 5), linesFor(100, 5));
    EXPECT_NE(linesFor(100, 5), linesFor(100, 6));
}

} // namespace tarvonel
