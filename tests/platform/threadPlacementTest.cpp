#include "platform/threadPlacement.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/placementPlan.h"

#ifdef __linux__
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace tarvonel
{

namespace
{

std::vector<int> nodesOfThreads(int nodeCount, int coreCount, int processorCount, int threads)
{
    std::vector<int> nodes;
    for (int index = 0; index < threads; ++index)
        nodes.push_back(nodeForThread(nodeCount, coreCount, processorCount, index));
    return nodes;
}

/// A system tree such as the kernel shows it, built in a folder of the test's own.
struct systemTree
{
    std::filesystem::path root = testing::TempDir() + "tarvonelSystemTree";

    systemTree() { std::filesystem::remove_all(root); }
    ~systemTree() { std::filesystem::remove_all(root); }

    void write(const std::string &name, const std::string &line) const
    {
        std::filesystem::create_directories((root / name).parent_path());
        std::ofstream(root / name) << line << '\n';
    }
    machineShape read(const std::vector<int> &allowed) const { return readMachineShape(root.string(), allowed); }
};

/// Two nodes with processors and one with memory alone; two processors to each core.
void writeTwoNodeMachine(const systemTree &tree)
{
    tree.write("node/online", "0-2");
    tree.write("node/node0/cpulist", "0-1,4-5");
    tree.write("node/node1/cpulist", "");
    tree.write("node/node2/cpulist", "2-3,6-7");
    for (int processor = 0; processor < 8; ++processor)
    {
        const int core = processor % 4;
        const std::string mates = std::to_string(core) + "," + std::to_string(core + 4);
        const char *const name = processor < 4 ? "core_cpus_list" : "thread_siblings_list";
        tree.write("cpu/cpu" + std::to_string(processor) + "/topology/" + name, mates);
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
        {"one processor to a core", 2, 4, 4, {0, 0, 1, 1, noNode, noNode}},
        {"a core too many for equal shares is left out", 2, 5, 10, {0, 0, 1, 1, 0, 1, 0, 1, 0, noNode}},
        {"fewer cores than nodes", 3, 2, 4, {0, 1, noNode}},
        {"a single node", 1, 2, 4, {0, 0, 0, 0, noNode}},
        {"no node told", 0, 4, 8, {noNode, noNode, noNode}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(nodesOfThreads(c.nodes, c.cores, c.processors, static_cast<int>(c.placed.size())), c.placed)
            << c.machine;
}

TEST(threadPlacement, processorListsAreReadAsFarAsTheyMakeSense)
{
    struct
    {
        const char *text;
        std::vector<int> numbers;
    } const cases[] = {
        {"0-3,8\n", {0, 1, 2, 3, 8}},
        {"5", {5}},
        {"", {}},
        {"\n", {}},
        {"0,2,4-5", {0, 2, 4, 5}},
        {"1,x", {1}},
        {"3-", {}},
        {"4-2", {}},
        {"-1", {}},
        {"7,0-99999999", {7}},
        {"99999999999", {}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(parseProcessorList(c.text), c.numbers) << c.text;
}

TEST(threadPlacement, machineIsReadWithinTheAllowedProcessors)
{
    const systemTree tree;
    writeTwoNodeMachine(tree);
    struct
    {
        std::vector<int> allowed;
        std::vector<int> nodeNumbers;
        std::vector<std::vector<int>> nodeProcessors;
        int cores;
    } const cases[] = {
        {{0, 1, 2, 3, 4, 5, 6, 7}, {0, 2}, {{0, 1, 4, 5}, {2, 3, 6, 7}}, 4},
        {{1, 5, 6}, {0, 2}, {{1, 5}, {6}}, 2},
        {{4, 5}, {0}, {{4, 5}}, 2},
        {{}, {}, {}, 0},
    };
    for (const auto &c : cases)
    {
        const machineShape machine = tree.read(c.allowed);
        EXPECT_EQ(machine.coreCount, c.cores);
        EXPECT_EQ(machine.processorCount, static_cast<int>(c.allowed.size()));
        ASSERT_EQ(machine.nodes.size(), c.nodeNumbers.size());
        for (std::size_t index = 0; index < machine.nodes.size(); ++index)
        {
            EXPECT_EQ(machine.nodes[index].number, c.nodeNumbers[index]);
            EXPECT_EQ(machine.nodes[index].processors, c.nodeProcessors[index]);
        }
    }
}

TEST(threadPlacement, machineWithoutATreeHasNoNodes)
{
    const systemTree tree; // nothing in it
    const machineShape machine = tree.read({0, 1});
    EXPECT_TRUE(machine.nodes.empty());
    EXPECT_EQ(machine.coreCount, 2);
}

#ifdef __linux__

namespace
{

std::vector<int> affinityOfThisThread()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    std::vector<int> processors;
    if (sched_getaffinity(0, sizeof(set), &set) == 0)
        for (int processor = 0; processor < CPU_SETSIZE; ++processor)
            if (CPU_ISSET(processor, &set))
                processors.push_back(processor);
    return processors;
}

/// What a fresh thread may run on after it was bound once, and then again.
std::vector<int> affinityAfterBinding(int threadIndex, int numaNode)
{
    std::vector<int> processors;
    std::thread(
        [&]
        {
            bindThreadToNode(threadIndex, numaNode);
            bindThreadToNode(threadIndex, numaNode);
            processors = affinityOfThisThread();
        })
        .join();
    return processors;
}

} // namespace

TEST(threadPlacement, bindingNeverWidensTheProcessorsOfTheStart)
{
    const std::vector<int> atStart = affinityOfThisThread();
    ASSERT_FALSE(atStart.empty());
    for (const int numaNode : {0, 1, 2, 4})
        for (const int threadIndex : {0, 1, 7, 255})
        {
            const std::vector<int> bound = affinityAfterBinding(threadIndex, numaNode);
            EXPECT_FALSE(bound.empty());
            EXPECT_TRUE(std::includes(atStart.begin(), atStart.end(), bound.begin(), bound.end()))
                << "thread " << threadIndex << ", node option " << numaNode;
        }
    EXPECT_EQ(affinityOfThisThread(), atStart) << "the calling thread alone is bound";
}

// The same once more in a process that was started with one processor of several.
TEST(threadPlacement, narrowStartStaysNarrow)
{
    const std::vector<int> atStart = affinityOfThisThread();
    ASSERT_FALSE(atStart.empty());
    const pid_t child = fork();
    if (child == 0)
    {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(atStart.back(), &set);
        sched_setaffinity(0, sizeof(set), &set);
        execl("/proc/self/exe", "tarvonelTests", "--gtest_filter=threadPlacement.bindingNeverWidens*", nullptr);
        _exit(1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(threadPlacement, unknownNodeAndThreadsBeyondTheProcessorsStayUnbound)
{
    const std::vector<int> atStart = affinityOfThisThread();
    EXPECT_EQ(affinityAfterBinding(0, 1 << 20), atStart);
    EXPECT_EQ(affinityAfterBinding(1 << 20, 0), atStart);
}

#endif

} // namespace tarvonel
