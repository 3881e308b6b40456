// Writes a data file for the engine's `texel` command from random games. Terms worth keeping are
// tuned on positions of real games in the same form.
#include <cstdint>
#include <stdexcept>
#include <string>

#include "platform/wholeFile.h"
#include "programMain.h"
#include "tuner/tuningData.h"
#include "tuner/tuningLines.h"

int main(int argc, char **argv)
{
    using namespace tarvonel;
    std::string name;
    std::int64_t count = 50'000;
    std::uint64_t seed = 1;
    const auto declareOptions = [&](CLI::App &app)
    {
        name = tuningFileName;
        app.add_option("--out", name, "the file");
        app.add_option("--positions", count, "lines to write")->check(numberFrom(1, 100'000'000));
        app.add_option("--seed", seed, "of the random games")->check(numberFrom(0, 1e9));
    };
    const auto work = [&]
    {
        const std::string fault =
            writeWholeFile(name, [&](std::ostream &file) { writeTuningLines(file, count, seed); });
        if (!fault.empty())
            throw std::runtime_error(fault);
        return 0;
    };
    return programMain(argc, argv, "Writes positions for the texel command.", declareOptions, work);
}
