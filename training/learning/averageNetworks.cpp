// Writes the mean of networks that were learnt from one ancestor.

#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "eval/networkWriter.h"
#include "learning/networkMean.h"
#include "platform/wholeFile.h"
#include "programMain.h"

namespace tarvonel
{

namespace
{

struct averagePlan
{
    std::vector<std::string> files;
    std::string out = "network.nnue";
};

int average(const averagePlan &plan)
{
    std::vector<std::unique_ptr<networkWeights>> networks;
    for (const std::string &file : plan.files)
    {
        if (!loadNetFile(file))
            throw std::runtime_error(file + " is no network");
        networks.push_back(std::make_unique<networkWeights>(netWeights));
    }
    std::string error;
    const auto mean = meanOfNetworks(std::move(networks), error);
    if (error.empty())
        error = writeWholeFile(plan.out, [&](std::ostream &stream)
                               { writeNet(stream, *mean, "mean of networks learnt from the engine's own games"); });
    if (!error.empty())
        throw std::runtime_error(error);
    return 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::averagePlan plan;
    return tarvonel::programMain(
        argc, argv, "Writes the mean of networks that were learnt from one ancestor.",
        [&](CLI::App &app)
        {
            app.add_option("networks", plan.files, "network files")->required()->expected(2, 1000);
            app.add_option("--out", plan.out, "the network file");
        },
        [&] { return tarvonel::average(plan); });
}
