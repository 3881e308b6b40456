// The command as a user gives it, in a directory with a network and a data file.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>

#include <gtest/gtest.h>

#include "support/engineProcess.h"
#include "tuner/tunerFixture.h"

namespace tarvonel
{

class texelCommand : public testing::Test
{
  protected:
    void SetUp() override { std::filesystem::remove_all(dataFile); }
    void writeData(const std::string &text) const { std::ofstream(dataFile) << text; }
    /// The number of threads that the command reports.
    std::ptrdiff_t threadsOf(const std::string &command)
    {
        return std::ranges::count(engine.ask(command), std::string("Lets go"));
    }

    startedEngine engine;
    const std::string dataFile = networkDirectory() / "lichess-good.epd";
};

TEST_F(texelCommand, messagesInTheirOrder)
{
    writeData(randomFileText(200) + "no marker\n");
    const lines answer = engine.ask("texel 2");
    ASSERT_GT(answer.size(), 100U);
    EXPECT_TRUE(
        std::regex_match(answer[0], std::regex("info string Positions taken from lichess-good.epd: [1-9][0-9]+, "
                                               "of which [1-9][0-9]* measure the hand-set terms")))
        << answer[0];
    EXPECT_EQ(lines(answer.begin() + 1, answer.begin() + 5),
              (lines{"info string Lines skipped in lichess-good.epd: 1 without c9, 0 without a playable position",
                     "Lets go", "Lets go", "Starting texel tuning...."}));
    const auto tail = answer.end() - 5;
    for (auto each = answer.begin() + 5; each < tail; ++each)
        EXPECT_TRUE(each->starts_with("Trying the following K value ")) << *each;
    EXPECT_TRUE(tail[0].starts_with(" Optimal K calculated : ")) << tail[0];
    ASSERT_TRUE(tail[1].starts_with("Starting error ")) << tail[1];
    const std::string error = tail[1].substr(std::string("Starting error ").size());
    EXPECT_EQ(lines(tail + 2, answer.end()),
              (lines{"", " Improving: 1", "Ending error " + error + " Minimum error " + error}));
    engine.send("go depth 3");
    engine.readUntil("bestmove ");
}

TEST_F(texelCommand, theThreadCountIsKept)
{
    writeData(randomFileText(5));
    EXPECT_EQ(threadsOf("texel"), 4);
    EXPECT_EQ(threadsOf("texel 2"), 2);
    for (const char *count : {"0", "257", "-1", "four", "2x", "1.5", "99999999999"})
        EXPECT_EQ(engine.ask(std::string("texel ") + count),
                  lines{"info string texel needs a thread count from 1 to 256"});
    EXPECT_EQ(threadsOf("texel"), 2);
}

TEST_F(texelCommand, withoutUsablePositionsNothingRuns)
{
    const lines refused = {"There seems to be a problem with the tuning file. tuning not executed"};
    EXPECT_EQ(engine.ask("texel"), refused) << "no file";
    std::filesystem::create_directory(dataFile);
    EXPECT_EQ(engine.ask("texel"), refused) << "a directory";
    std::filesystem::remove(dataFile);
    for (const std::string &text : {std::string(), std::string("\n\0c9\n", 5), std::string(1 << 20, 'K') + " c9\n"})
    {
        writeData(text);
        EXPECT_EQ(engine.ask("texel 2").back(), "info string There is no position to tune with: tuning not executed");
    }
    writeData(randomFileText(5));
    EXPECT_EQ(engine.ask("texel 2"), startedEngine().ask("texel 2")) << "K, which makes the labels, is as it was";
    engine.send("setoption name NetFile value none");
    EXPECT_EQ(engine.ask("texel").back(), "info string There is no network to label positions by: tuning not executed");
}

} // namespace tarvonel
