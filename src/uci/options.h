// The options of the engine: what `uci` announces and what `setoption` does.
#pragma once

#include <istream>
#include <string>

namespace tarvonel
{

/// The lines that announce all options, each ending in a newline.
std::string optionAnnouncements();

/// Sets the option named in the rest of the line in `words`. An unknown name is ignored.
void setOptionCommand(std::istream &words);

/// Resizes the transposition table; prints a message if only a smaller one fits in memory. No search
/// may run.
void resizeHashTable(int megabytes);

/// Prints that the table is smaller than `megabytes`, if it is.
void printSmallerTable(int megabytes);

/// Loads the file of the option `NetFile` and empties the evaluation caches; `netLoaded` is the
/// outcome, and a message says so if there is no network now. No search may run.
void useNetFile();

/// Refuses a command for lack of a network; `what` cannot be searched, "a position" or "the position".
void refuseWithoutNetwork(const char *what);

} // namespace tarvonel
