// Where the tuner's text goes: to the console's output, or to a test's string.
#pragma once

#include <functional>
#include <sstream>
#include <string>
#include <string_view>

namespace tarvonel
{

/// Receives whole lines, ends included, one write per call. Never called by two threads at once.
using tunerOutput = std::function<void(std::string_view)>;

/// The parts one after the other, numbers as standard streams write them, and a line end.
template <typename... Parts> std::string lineOf(const Parts &...parts)
{
    std::ostringstream text;
    (text << ... << parts) << '\n';
    return text.str();
}

} // namespace tarvonel
