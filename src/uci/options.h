// The options of the engine: what `uci` announces and what `setoption` does.
#pragma once

#include <istream>
#include <string>

namespace tarvonel
{

/// The lines that announce all options, each ending in a newline.
std::string optionAnnouncements();

/// Sets the option that the rest of the line in `words` names. An unknown name is ignored.
void setOptionCommand(std::istream &words);

} // namespace tarvonel
