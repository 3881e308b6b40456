// Writing a file so that a cut never leaves half of it under its name.
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace tarvonel
{

/// Has `write` fill a neighbour of the file, which then takes the name. Empty text or what went wrong.
std::string writeWholeFile(const std::string &path, const std::function<void(std::ostream &)> &write);

} // namespace tarvonel
