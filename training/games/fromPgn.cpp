// Converts PGN files of match managers into a file of games.

#include <fstream>
#include <iostream>
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
    engineOptions.chess960 = true; // covers standard games too
    gameWriter writer;
    openForAppending(writer, out);
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
            appendGame(writer, *game);
        leftOut += reader.leftOut;
    }
    std::cout << writer.summary.games << " games, " << writer.summary.positions << " positions; left out: " << leftOut
              << " games\n";
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
        app.add_option("--out", out, "the file of games; it must not hold any yet")->required();
    };
    return tarvonel::programMain(argc, argv, "Converts PGN files with scores into a file of games to learn from.",
                                 declareOptions, [&] { return tarvonel::convert(files, out); });
}
