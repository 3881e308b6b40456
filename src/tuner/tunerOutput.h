// The destination of the tuner's text: standard output, or a string in tests.
#pragma once

#include <functional>
#include <sstream>
#include <string>
#include <string_view>

namespace tarvonel
{

/// Receives whole lines with their line ends. Never called by two threads at once.
using tunerOutput = std::function<void(std::string_view)>;

/// The parts as standard streams write them, and a line end.
template <typename... Parts> std::string lineOf(const Parts &...parts)
{
    std::ostringstream text;
    (text << ... << parts) << '\n';
    return text.str();
}

} // namespace tarvonel
