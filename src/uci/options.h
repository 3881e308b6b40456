// The options of the engine: their announcement and `setoption`.
#pragma once

#include <istream>
#include <string>

namespace tarvonel
{

/// The lines that announce the options, each ending in a newline.
std::string optionAnnouncements();

/// Sets the option named in the rest of the line. Ignores unknown names.
void setOptionCommand(std::istream &words);

/// Resizes the transposition table. Prints a message if only a smaller one fits in memory. No search may
/// run.
void resizeHashTable(int megabytes);

/// Prints a message if the table is smaller than `megabytes`.
void printSmallerTable(int megabytes);

/// Loads the file in the option `NetFile` and clears the evaluation caches. Prints the result, which is in
/// `netLoaded`. No search may run.
void useNetFile();

/// Refuses a command because there is no network; `what` is "a position" or "the position".
void refuseWithoutNetwork(const char *what);

} // namespace tarvonel
