// Turns PGN files, as match managers and testing frameworks write them, into a file of games.

#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "board/engineOptions.h"
#include "games/pgnReader.h"
#include "programMain.h"

namespace tarvonel
{

namespace
{

int convert(const std::vector<std::string> &files, const std::string &out)
{
    engineOptions.chess960 = true; // games of both kinds may stand in a file; standard ones lose nothing
    gameWriter writer;
    const std::string error = openForAppending(writer, out);
    if (!error.empty())
        throw std::runtime_error(error);
    if (writer.summary.games > 0)
        throw std::runtime_error(out + " holds games already");
    const auto board = std::make_unique<posWithMoves>();
    std::uint64_t leftOut = 0;
    for (const std::string &file : files)
    {
        std::ifstream text(file);
        if (!text)
            throw std::runtime_error("cannot read " + file);
        pgnReader reader{text};
        while (const std::optional<storedGame> game = nextPgnGame(reader, *board))
            if (!appendGame(writer, *game))
                throw std::runtime_error("cannot write " + out);
        leftOut += reader.leftOut;
    }
    std::printf("%llu games, %llu positions; left out: %llu games\n",
                static_cast<unsigned long long>(writer.summary.games),
                static_cast<unsigned long long>(writer.summary.positions), static_cast<unsigned long long>(leftOut));
    closeWriter(writer);
    return 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    std::vector<std::string> files;
    std::string out = "games";
    const auto declareOptions = [&](CLI::App &app)
    {
        app.add_option("files", files, "PGN files")->required();
        app.add_option("--out", out, "the file of games, which must not hold any yet")->required();
    };
    return tarvonel::programMain(argc, argv, "Turns PGN files with scores into a file of games to learn from.",
                                 declareOptions, [&] { return tarvonel::convert(files, out); });
}
