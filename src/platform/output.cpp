#include "platform/output.h"

#include <cstdio>

namespace tarvonel
{

// fwrite locks the stream, so concurrent writes do not mix.
void printText(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

bool isOutputLost() { return std::ferror(stdout) != 0; }

void printLine(std::string line)
{
    line += '\n';
    printText(line);
}

void printInfo(const std::string &text) { printLine("info string " + text); }

} // namespace tarvonel
