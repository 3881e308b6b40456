// Writes a data file for the engine's `texel` command from random games. Terms worth keeping are
// tuned on positions of real games in the same form.
#include <cstdint>
#include <stdexcept>
#include <string>

#include "platform/wholeFile.h"
#include "programMain.h"
#include "tuner/tuningData.h"
#include "tuner/tuningLines.h"

namespace tarvonel
{

namespace
{

struct dataPlan
{
    std::string name;
    std::int64_t count = 50'000;
    std::uint64_t seed = 1;
};

void declareOptions(CLI::App &app, dataPlan &plan)
{
    plan.name = tuningFileName;
    app.add_option("--out", plan.name, "the file");
    app.add_option("--positions", plan.count, "lines to write")->check(numberFrom(1, 100'000'000));
    app.add_option("--seed", plan.seed, "of the random games")->check(numberFrom(0, 1e9));
}

int writeData(const dataPlan &plan)
{
    const std::string fault =
        writeWholeFile(plan.name, [&](std::ostream &file) { writeTuningLines(file, plan.count, plan.seed); });
    if (!fault.empty())
        throw std::runtime_error(fault);
    return 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::dataPlan plan;
    return tarvonel::programMain(
        argc, argv, "Writes positions for the texel command.",
        [&](CLI::App &app) { tarvonel::declareOptions(app, plan); }, [&] { return tarvonel::writeData(plan); });
}
