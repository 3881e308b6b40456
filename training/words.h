// The words of a text, and the time as text.
#pragma once

#include <ctime>
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

/// The local time in a format of `strftime` that gives at most 31 characters.
inline std::string localTimeText(const char *format)
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, format, &parts);
    return text;
}

} // namespace tarvonel
