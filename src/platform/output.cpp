#include "platform/output.h"

#include <cstdio>

namespace tarvonel
{

// The standard library locks the stream for the length of one fwrite.
void printText(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

void printLine(std::string line)
{
    line += '\n';
    printText(line);
}

void printInfo(const std::string &text) { printLine("info string " + text); }

} // namespace tarvonel
