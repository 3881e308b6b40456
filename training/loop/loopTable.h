// The table of finished loops (TSV, one line a loop after the heading) and its chart (SVG).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarvonel
{

struct loopRow
{
    int loop = 0;
    std::string finished;        ///< local date and time
    double hours = 0;            ///< worked in the night so far
    std::uint64_t positions = 0; ///< new ones, over all loops
    std::uint64_t window = 0;    ///< positions trained on
    double errorBefore = 0;      ///< validation error of the best network before the loop
    double error = 0;            ///< and after training, mean of the runs
    std::int64_t games = 0;
    double gain = 0;   ///< Elo of the loop's network over the best before it
    double margin = 0; ///< half-width of its 95% interval
    bool isPromoted = false;
    double elo = 0; ///< of the best network after the loop over the first
};

/// Both throw std::runtime_error: if the file is damaged; if it cannot be written.
std::vector<loopRow> readTable(const std::string &path);
/// Writes the heading first if there is no file.
void appendRow(const std::string &path, const loopRow &row);

/// Elo and validation error over the positions, as an SVG document.
std::string chartText(const std::vector<loopRow> &rows);

} // namespace tarvonel
