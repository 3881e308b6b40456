// Fills the engine's tables before the first test runs.
#include <gtest/gtest.h>

#include "board/attackTables.h"

namespace
{

struct engineEnvironment : ::testing::Environment
{
    void SetUp() override { tarvonel::initTables(); }
};

const auto *const environment = ::testing::AddGlobalTestEnvironment(new engineEnvironment);

} // namespace
