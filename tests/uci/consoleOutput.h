// What console commands print, for tests that run them in this process.
#pragma once

#include <functional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "uci/positionCommand.h"

namespace tarvonel
{

inline std::string outputOf(const std::function<void()> &command)
{
    testing::internal::CaptureStdout();
    command();
    return testing::internal::GetCapturedStdout();
}

/// Hands the text to a command as the rest of its line and returns what it prints.
inline std::string outputOf(void (*command)(std::istream &), const std::string &rest)
{
    std::istringstream words(rest);
    return outputOf([&] { command(words); });
}

} // namespace tarvonel
