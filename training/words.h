// Splitting text at white space.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace tarvonel
{

inline std::vector<std::string> splitWords(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

} // namespace tarvonel
