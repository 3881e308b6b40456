// Writes a file for the engine's `texel` command from random games: enough to see the tuner work.
// Terms worth keeping are tuned on positions of real games in the same form.

#include <cstdint>
#include <fstream>

#include "programMain.h"
#include "tuningLines.h"

int main(int argc, char **argv)
{
    std::string name = "lichess-good.epd"; // where the engine looks for it
    std::int64_t count = 50'000;
    std::uint64_t seed = 1;
    const auto declareOptions = [&](CLI::App &app)
    {
        app.add_option("--out", name, "the file");
        app.add_option("--positions", count, "lines to write")->check(tarvonel::numberFrom(1, 100'000'000));
        app.add_option("--seed", seed, "of the random games")->check(tarvonel::numberFrom(0, 1e9));
    };
    const auto work = [&]
    {
        std::ofstream file(name);
        tarvonel::writeTuningLines(file, count, seed);
        file.close();
        if (!file)
            throw std::runtime_error("cannot write " + name);
        return 0;
    };
    return tarvonel::programMain(argc, argv, "Writes positions for the texel command.", declareOptions, work);
}
