// Google Test's main program. Arguments name test files by the end of their path and select their quick
// tests.
#include <cstdlib>
#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include "board/attackTables.h"

namespace
{

/// A filter for the quick tests of the file, empty if there are none. Sets `isFound` if it has any
/// test.
std::string quickTestsOf(const std::string &file, bool &isFound)
{
    std::string filter;
    const testing::UnitTest &program = *testing::UnitTest::GetInstance();
    for (int i = 0; i < program.total_test_suite_count(); ++i)
    {
        const testing::TestSuite &suite = *program.GetTestSuite(i);
        for (int j = 0; j < suite.total_test_count(); ++j)
        {
            const testing::TestInfo &test = *suite.GetTestInfo(j);
            if (!std::string(test.file()).ends_with('/' + file))
                continue;
            isFound = true;
            if (!std::string(suite.name()).starts_with("slow"))
                filter += std::string(suite.name()) + '.' + test.name() + ':';
        }
    }
    return filter;
}

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    std::string filter;
    for (int i = 1; i < argc; ++i)
    {
        bool isFound = false;
        filter += quickTestsOf(argv[i], isFound);
        if (!isFound)
        {
            std::cerr << "no test in " << argv[i] << '\n';
            return EXIT_FAILURE;
        }
    }
    if (argc > 1)
        GTEST_FLAG_SET(filter, filter);
    tarvonel::initTables();
    return RUN_ALL_TESTS();
}
