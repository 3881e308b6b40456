#include "platform/threadPlacement.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/temporaryDirectory.h"

#ifdef __linux__
#include <sched.h>
#endif

namespace tarvonel
{

namespace
{

/// Two nodes with processors, one with memory only; two processors per core.
void writeTwoNodeMachine(const temporaryDirectory &tree)
{
    const auto write = [&](const std::string &name, const std::string &line)
    {
        const std::filesystem::path path = tree / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << line << '\n';
    };
    write("node/online", "0-2,7-99999999"); // what makes no sense is left out
    write("node/node0/cpulist", "0-1,4-5");
    write("node/node1/cpulist", "");
    write("node/node2/cpulist", "2-3,6-7");
    for (int processor = 0; processor < 8; ++processor)
    {
        const int core = processor % 4;
        const std::string mates = std::to_string(core) + "," + std::to_string(core + 4);
        const char *const name = processor < 4 ? "core_cpus_list" : "thread_siblings_list";
        write("cpu/cpu" + std::to_string(processor) + "/topology/" + name, mates);
    }
}

} // namespace

TEST(threadPlacement, coresAreFilledNodeByNodeAndThenProcessorsInTurn)
{
    struct
    {
        const char *machine;
        int nodes, cores, processors;
        std::vector<int> placed;
    } const cases[] = {
        {"two nodes, two processors to a core", 2, 4, 8, {0, 0, 1, 1, 0, 1, 0, 1, noNode, noNode}},
        {"a core too many for equal shares is left out", 2, 5, 10, {0, 0, 1, 1, 0, 1, 0, 1, 0, noNode}},
        {"fewer cores than nodes", 3, 2, 4, {0, 1, noNode}},
        {"no known node", 0, 4, 8, {noNode, noNode, noNode}},
    };
    for (const auto &c : cases)
        for (std::size_t index = 0; index < c.placed.size(); ++index)
            EXPECT_EQ(nodeForThread(c.nodes, c.cores, c.processors, static_cast<int>(index)), c.placed[index])
                << c.machine << ", thread " << index;
}

TEST(threadPlacement, machineIsReadWithinTheAllowedProcessors)
{
    using nodeRows = std::vector<std::pair<int, std::vector<int>>>;
    const temporaryDirectory tree, emptyTree;
    writeTwoNodeMachine(tree);
    struct
    {
        const temporaryDirectory &tree;
        std::vector<int> allowed;
        nodeRows nodes;
        int cores;
    } const cases[] = {
        {tree, {0, 1, 2, 3, 4, 5, 6, 7}, {{0, {0, 1, 4, 5}}, {2, {2, 3, 6, 7}}}, 4},
        {tree, {1, 5, 6}, {{0, {1, 5}}, {2, {6}}}, 2},
        {emptyTree, {0, 1}, {}, 2},
    };
    for (const auto &c : cases)
    {
        const machineShape machine = readMachineShape(c.tree.path, c.allowed);
        nodeRows nodes;
        for (const auto &node : machine.nodes)
            nodes.emplace_back(node.number, node.processors);
        EXPECT_EQ(nodes, c.nodes);
        EXPECT_EQ(machine.coreCount, c.cores);
        EXPECT_EQ(machine.processorCount, static_cast<int>(c.allowed.size()));
    }
}

TEST(threadPlacement, theOptionNamesOneNodeForAllThreads)
{
    const std::vector<int> first = {0, 1, 4, 5}, second = {2, 3, 6, 7}, none;
    const machineShape machine{{{0, first}, {2, second}}, 4, 8};
    const struct
    {
        int threadIndex, numaNode;
        const std::vector<int> &processors;
    } cases[] = {
        {0, 0, first}, {2, 0, second}, {8, 0, none},   {2, 1, first},
        {0, 2, none},  {0, 3, second}, {9, 3, second}, {0, 4, none},
    };
    for (const auto &c : cases)
        EXPECT_EQ(processorsForThread(machine, c.threadIndex, c.numaNode), c.processors)
            << "thread " << c.threadIndex << ", node option " << c.numaNode;
}

#ifdef __linux__

namespace
{

cpu_set_t affinityOfThisThread()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof set, &set);
    return set;
}

/// The processors allowed to a new thread that was restricted to one and then bound.
std::vector<int> processorsAfterBinding(int threadIndex, int numaNode, int narrowedTo)
{
    std::vector<int> processors;
    std::thread(
        [&]
        {
            cpu_set_t narrow;
            CPU_ZERO(&narrow);
            CPU_SET(narrowedTo, &narrow);
            sched_setaffinity(0, sizeof narrow, &narrow);
            bindThreadToNode(threadIndex, numaNode);
            const cpu_set_t set = affinityOfThisThread();
            for (int processor = 0; processor < CPU_SETSIZE; ++processor)
                if (CPU_ISSET(processor, &set))
                    processors.push_back(processor);
        })
        .join();
    return processors;
}

} // namespace

TEST(threadPlacement, bindingTakesTheNodesProcessorsOfTheStart)
{
    const cpu_set_t atStart = affinityOfThisThread();
    std::vector<int> allowed;
    for (int processor = 0; processor < CPU_SETSIZE; ++processor)
        if (CPU_ISSET(processor, &atStart))
            allowed.push_back(processor);
    const machineShape machine = readMachineShape("/sys/devices/system", allowed);
    for (const int numaNode : {0, 1, 2, 1 << 20})
        for (const int threadIndex : {0, 1, 7, 1 << 20})
        {
            std::vector<int> expected = processorsForThread(machine, threadIndex, numaNode);
            if (expected.empty())
                expected = {allowed.front()};
            EXPECT_EQ(processorsAfterBinding(threadIndex, numaNode, allowed.front()), expected)
                << "thread " << threadIndex << ", node option " << numaNode;
        }
}

// The same in a process that was started on one processor of several.
TEST(threadPlacement, narrowStartStaysNarrow)
{
    const cpu_set_t atStart = affinityOfThisThread();
    int first = 0;
    while (!CPU_ISSET(first, &atStart))
        ++first;
    const std::string command = "taskset -c " + std::to_string(first) + " '" +
                                std::filesystem::read_symlink("/proc/self/exe").string() +
                                "' --gtest_filter=threadPlacement.bindingTakes*";
    EXPECT_EQ(std::system(command.c_str()), 0);
}

#endif

} // namespace tarvonel
