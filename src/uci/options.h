// The options of the engine: what `uci` announces and what `setoption` does.
#pragma once

#include <istream>
#include <string>

namespace tarvonel
{

/// The lines that announce all options, each ending in a newline.
std::string optionAnnouncements();

/// Gives the transposition table that size; a message says so if the memory holds only a smaller
/// one. No search may run.
void resizeHashTable(int megabytes);

/// The message that the table could only be made smaller than `megabytes`, if so.
void tellSmallerTable(int megabytes);

/// Sets the option that the rest of the line in `words` names. An unknown name is ignored.
void setOptionCommand(std::istream &words);

} // namespace tarvonel
