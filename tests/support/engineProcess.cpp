#include "support/engineProcess.h"

#include <algorithm>
#include <cstdlib>

#include "platform/clock.h"
#include "support/syntheticNetwork.h"
#include "words.h"

namespace tarvonel
{

namespace
{

const char *foreignEngine() { return std::getenv("TARVONEL_ENGINE"); }

} // namespace

const char *engineProgram() { return TARVONEL_ENGINE_PATH; }

bool isForeignEngine() { return foreignEngine() != nullptr; }

std::string pathForEngine(std::string path)
{
    if (!isForeignEngine())
        return path;
    std::ranges::replace(path, '/', '\\');
    return "Z:" + path;
}

engineProcess::engineProcess(const std::string &directory, const lines &words, int limitKib)
{
    lines all = isForeignEngine() ? splitWords(foreignEngine()) : lines{TARVONEL_ENGINE_PATH};
    if (limitKib != 0)
        all = {"sh", "-c", "ulimit -v " + std::to_string(limitKib) + " && exec \"$0\" \"$@\"", TARVONEL_ENGINE_PATH};
    all.insert(all.end(), words.begin(), words.end());
    startProcess(process, all, directory);
}

void engineProcess::send(const std::string &text)
{
    EXPECT_TRUE(sendLine(process, text)) << "the engine takes no input";
}

std::optional<std::string> engineProcess::readLine(int timeoutMs)
{
    std::string text;
    if (receiveLine(process, text, millisecondsNow() + timeoutMs) == lineResult::read)
        return text;
    return std::nullopt;
}

lines engineProcess::readUntil(const std::string &prefix)
{
    lines all;
    while (std::optional<std::string> text = readLine())
    {
        all.push_back(*text);
        if (text->starts_with(prefix))
            return all;
    }
    ADD_FAILURE() << "no line \"" << prefix << "\" but " << testing::PrintToString(all);
    all.emplace_back();
    return all;
}

lines engineProcess::readToExit(const std::string &end)
{
    lines all;
    while (std::optional<std::string> text = readLine())
        all.push_back(*text);
    EXPECT_EQ(process.unread, "") << "unfinished line";
    EXPECT_EQ(endProcess(process, defaultTimeoutMs), end);
    return all;
}

lines engineProcess::ask(const std::string &command)
{
    send(command + "\nsetoption name SyzygyProbeDepth value 0");
    lines answer = readUntil("info string SyzygyProbeDepth set to: 0");
    answer.pop_back();
    return answer;
}

const temporaryDirectory &networkDirectory()
{
    static const temporaryDirectory directory;
    static const bool isWritten = writeSyntheticNetwork(directory / "220321-307.nnue");
    EXPECT_TRUE(isWritten);
    return directory;
}

startedEngine::startedEngine() : engineProcess(networkDirectory().path)
{
    send("setoption name Hash value 8");
    readUntil("info string Size of Hashtable set to : 8");
}

} // namespace tarvonel
