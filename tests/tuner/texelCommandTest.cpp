// The command as a user gives it, in a directory with a network and a data file.
#include <algorithm>
#include <filesystem>
#include <fstream>

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
    /// How many threads announce themselves.
    std::ptrdiff_t threadsOf(const std::string &command)
    {
        return std::ranges::count(engine.ask(command), std::string("Lets go"));
    }

    startedEngine engine;
    const std::string dataFile = networkDirectory() / "lichess-good.epd";
};

TEST_F(texelCommand, messagesInTheirOrder)
{
    writeData("no marker\n" + randomFileText(60));
    const lines answer = engine.ask("texel 2");
    ASSERT_GT(answer.size(), 100U);
    EXPECT_EQ(lines(answer.begin(), answer.begin() + 4),
              (lines{"info string Lines skipped in lichess-good.epd: 1 without c9, 0 without a playable position",
                     "Lets go", "Lets go", "Starting texel tuning...."}));
    const auto tail = answer.end() - 5;
    for (auto each = answer.begin() + 4; each < tail; ++each)
        EXPECT_TRUE(each->starts_with("Trying the following K value ")) << *each;
    EXPECT_TRUE(tail[0].starts_with(" Optimal K calculated : ")) << tail[0];
    ASSERT_TRUE(tail[1].starts_with("Starting error ")) << tail[1];
    const std::string error = tail[1].substr(std::string("Starting error ").size());
    EXPECT_EQ(lines(tail + 2, answer.end()),
              (lines{"", " Improving: 1", "Ending error " + error + " Minimum error " + error}));
}

TEST_F(texelCommand, theFiguresDoNotDependOnTheNumberOfThreads)
{
    writeData(randomFileText(60));
    lines figures;
    for (const char *command : {"texel", "texel 1", "texel 3"})
    {
        lines answer = startedEngine().ask(command);
        std::erase(answer, "Lets go");
        EXPECT_TRUE(figures.empty() || figures == answer) << command;
        figures = answer;
    }
}

TEST_F(texelCommand, theThreadCountIsKept)
{
    writeData(randomFileText(5));
    EXPECT_EQ(threadsOf("texel"), 4);
    EXPECT_EQ(threadsOf("texel 2"), 2);
    for (const char *count : {"0", "257", "-1", "four", "99999999999"})
        EXPECT_EQ(engine.ask(std::string("texel ") + count),
                  lines{"info string texel needs a thread count from 1 to 256"});
    EXPECT_EQ(threadsOf("texel"), 2);
}

TEST_F(texelCommand, withoutUsablePositionsNoHarmIsDone)
{
    const lines refused = {"There seems to be a problem with the tuning file. tuning not executed"};
    EXPECT_EQ(engine.ask("texel"), refused) << "no file";
    std::filesystem::create_directory(dataFile);
    EXPECT_EQ(engine.ask("texel"), refused) << "a directory";
    std::filesystem::remove(dataFile);
    for (const std::string &text : {std::string(), std::string("\n\0c9\n", 5), std::string(1 << 20, 'K') + " c9\n"})
    {
        writeData(text);
        EXPECT_EQ(engine.ask("texel 2").back(), "Ending error nan Minimum error nan");
    }
}

TEST_F(texelCommand, theEngineGoesOnAfterwards)
{
    writeData("4k3/8/8/8/8/8/8/4K3 w - - 0 1 c9 \"1/2-1/2\";\n8/8/8/8/8/8/8/8 w - - c9\n");
    engine.ask("texel 1");
    EXPECT_EQ(std::ranges::count(engine.ask("hashstats"), "Number of entries 524288"), 1) << "8 MiB as the option says";
    engine.send("position startpos\ngo depth 3");
    engine.readUntil("bestmove ");
    engine.send("go infinite");
    EXPECT_EQ(engine.ask("texel"),
              lines{"info string texel refused: an infinite or ponder search is running, stop it first"});
    engine.send("quit");
    engine.readUntil("bestmove ");
    engine.readToExit();
}

} // namespace tarvonel
