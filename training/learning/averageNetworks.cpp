// Writes the mean of networks trained from one ancestor.

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "learning/networkMean.h"
#include "learning/networkWriter.h"
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
        if (!readWeightsFile(file, *networks.emplace_back(std::make_unique<networkWeights>())))
            throw std::runtime_error(file + " is not a network file");
    }
    writeNetwork(plan.out, *meanOfNetworks(std::move(networks)), "mean of networks trained on the engine's own games");
    return 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::averagePlan plan;
    return tarvonel::programMain(
        argc, argv, "Writes the mean of networks trained from one ancestor.",
        [&](CLI::App &app)
        {
            app.add_option("networks", plan.files, "network files")->required()->expected(2, 1000);
            app.add_option("--out", plan.out, "network file to write");
        },
        [&] { return tarvonel::average(plan); });
}
