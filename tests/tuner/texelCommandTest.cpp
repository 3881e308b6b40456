// The command as a user gives it, in a directory with a network and a data file.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/engineProcess.h"
#include "support/syntheticNetwork.h"
#include "support/temporaryDirectory.h"
#include "tuner/tunerFixture.h"

namespace tarvonel
{

namespace
{

using lines = std::vector<std::string>;

constexpr const char *letsGo = "Lets go";
constexpr const char *noFile = "There seems to be a problem with the tuning file. tuning not executed";
constexpr const char *badCount = "info string texel needs a thread count from 1 to 256";

} // namespace

class texelCommand : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        directory = std::make_unique<temporaryDirectory>();
        ASSERT_TRUE(writeSyntheticNetwork(*directory / "220321-307.nnue"));
    }
    static void TearDownTestSuite() { directory.reset(); }
    void SetUp() override { std::filesystem::remove_all(dataFile); }

    void writeData(const std::string &text) const { std::ofstream(dataFile) << text; }

    static std::unique_ptr<engineProcess> startedEngine()
    {
        auto engine = std::make_unique<engineProcess>(directory->path);
        engine->send("setoption name Hash value 8");
        engine->readUntil("info string Size of Hashtable set to : 8");
        return engine;
    }
    static lines answerTo(engineProcess &engine, const std::string &command)
    {
        engine.send(command);
        engine.send("isready");
        lines answer = engine.readUntil("readyok");
        answer.pop_back();
        return answer;
    }

    static std::unique_ptr<temporaryDirectory> directory;
    const std::string dataFile = *directory / "lichess-good.epd";
};

std::unique_ptr<temporaryDirectory> texelCommand::directory;

TEST_F(texelCommand, messagesInTheirOrder)
{
    writeData("no marker\n" + randomFileText(60));
    const auto engine = startedEngine();
    const lines answer = answerTo(*engine, "texel 2");
    ASSERT_GT(answer.size(), 100U);
    EXPECT_EQ(answer[0], "info string Lines skipped in lichess-good.epd: 1 without c9, 0 without a playable position");
    EXPECT_EQ(answer[1], letsGo);
    EXPECT_EQ(answer[2], letsGo);
    EXPECT_EQ(answer[3], "Starting texel tuning....");
    const std::size_t last = answer.size() - 1;
    for (std::size_t i = 4; i < last - 4; ++i)
        EXPECT_TRUE(answer[i].starts_with("Trying the following K value ")) << answer[i];
    EXPECT_TRUE(answer[last - 4].starts_with(" Optimal K calculated : ")) << answer[last - 4];
    ASSERT_TRUE(answer[last - 3].starts_with("Starting error ")) << answer[last - 3];
    EXPECT_EQ(answer[last - 2], "");
    EXPECT_EQ(answer[last - 1], " Improving: 1");
    const std::string error = answer[last - 3].substr(std::string("Starting error ").size());
    EXPECT_EQ(answer[last], "Ending error " + error + " Minimum error " + error);
}

TEST_F(texelCommand, theFiguresDoNotDependOnTheNumberOfThreads)
{
    writeData(randomFileText(60));
    lines figures;
    for (const char *command : {"texel", "texel 1", "texel 3"})
    {
        lines answer = answerTo(*startedEngine(), command);
        EXPECT_EQ(std::ranges::count(answer, letsGo), command[5] == '\0' ? 4 : command[6] - '0');
        std::erase(answer, letsGo);
        EXPECT_TRUE(figures.empty() || figures == answer) << command;
        figures = answer;
    }
}

TEST_F(texelCommand, theThreadCountIsKept)
{
    writeData(randomFileText(5));
    const auto engine = startedEngine();
    EXPECT_EQ(std::ranges::count(answerTo(*engine, "texel 2"), letsGo), 2);
    EXPECT_EQ(std::ranges::count(answerTo(*engine, "texel"), letsGo), 2);
    for (const char *command : {"texel 0", "texel 257", "texel -1", "texel four", "texel 99999999999"})
        EXPECT_EQ(answerTo(*engine, command), lines{badCount}) << command;
    EXPECT_EQ(std::ranges::count(answerTo(*engine, "texel"), letsGo), 2);
}

TEST_F(texelCommand, withoutAFileNothingIsTuned)
{
    const auto engine = startedEngine();
    EXPECT_EQ(answerTo(*engine, "texel"), lines{noFile});
    std::filesystem::create_directory(dataFile);
    EXPECT_EQ(answerTo(*engine, "texel"), lines{noFile});
}

TEST_F(texelCommand, noUsablePositionDoesNoHarm)
{
    const auto engine = startedEngine();
    for (const std::string &text : {std::string(), std::string("\n\0c9\n", 5), std::string(1 << 20, 'K') + " c9\n"})
    {
        writeData(text);
        EXPECT_EQ(answerTo(*engine, "texel 2").back(), "Ending error nan Minimum error nan");
    }
}

TEST_F(texelCommand, theEngineGoesOnAfterwards)
{
    writeData("4k3/8/8/8/8/8/8/4K3 w - - 0 1 c9 \"1/2-1/2\";\n8/8/8/8/8/8/8/8 w - - c9\n");
    const auto engine = startedEngine();
    answerTo(*engine, "texel 1");
    const lines statistics = answerTo(*engine, "hashstats");
    EXPECT_EQ(std::ranges::count(statistics, "Number of entries 524288"), 1) << "8 MiB as the option says";
    engine->send("position startpos");
    engine->send("go depth 3");
    EXPECT_TRUE(engine->readUntil("bestmove").back().starts_with("bestmove "));
    engine->send("go infinite");
    EXPECT_EQ(answerTo(*engine, "texel"),
              lines{"info string texel refused: an infinite or ponder search is running, stop it first"});
    engine->send("quit");
    EXPECT_TRUE(engine->readUntil("bestmove").back().starts_with("bestmove "));
    EXPECT_EQ(engine->waitForExit(), 0);
}

} // namespace tarvonel
