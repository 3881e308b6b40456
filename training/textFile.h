// Text files that grow by whole lines: logs, tallies, games. A kill or a full disk never leaves
// half a line that a reader could take for a whole one.
#pragma once

#include <string>
#include <vector>

namespace tarvonel
{

/// The lines of a file. What follows the last newline is not a line. A missing file has no lines.
/// Throws std::runtime_error for anything but a regular file.
std::vector<std::string> readLines(const std::string &path);

/// Appends `text`, which ends in a newline, in one piece; first cuts off an unfinished last line.
/// Throws std::runtime_error, with the file as it was, if the disk takes less than all of it.
void appendText(const std::string &path, const std::string &text);

} // namespace tarvonel
