// Writes a file for the engine's `texel` command from random games: enough to see the tuner work.
// Terms worth keeping are tuned on positions of real games in the same form.

#include <cstdint>
#include <cstdio>
#include <fstream>

#include "board/attackTables.h"
#include "commandLine.h"
#include "tuningLines.h"

namespace tarvonel
{

namespace
{

const programOption dataOptions[] = {
    {"--out", "FILE", "the file (lichess-good.epd, where the engine looks for it)"},
    {"--positions", "N", "lines to write (50000)"},
    {"--seed", "N", "of the random games (1)"},
    {"--help", "", "this text"},
};

constexpr std::int64_t mostPositions = 100'000'000;
constexpr std::int64_t highestSeed = 1'000'000'000;

int dataMain(int wordCount, const char *const *words)
{
    commandLine given = readCommandLine(wordCount, words, dataOptions);
    const std::string name = textOption(given, "--out", "lichess-good.epd");
    const std::int64_t count = numberOption(given, "--positions", 50000, 1, mostPositions);
    const std::int64_t seed = numberOption(given, "--seed", 1, 0, highestSeed);
    if (!given.files.empty() && given.error.empty())
        given.error = "unexpected word " + given.files.front();
    if (!given.error.empty() || isGiven(given, "--help"))
    {
        if (!given.error.empty())
            std::fprintf(stderr, "%s\n", given.error.c_str());
        std::fputs(usageText("texelData [options]", "Writes positions for the texel command.", dataOptions).c_str(),
                   stdout);
        return given.error.empty() ? 0 : 2;
    }

    initTables();
    std::ofstream file(name);
    writeTuningLines(file, count, static_cast<std::uint64_t>(seed));
    file.close();
    if (!file)
    {
        std::fprintf(stderr, "cannot write %s\n", name.c_str());
        return 1;
    }
    return 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv) { return tarvonel::dataMain(argc, argv); }
