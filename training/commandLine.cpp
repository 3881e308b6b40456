#include "commandLine.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace tarvonel
{

namespace
{

const programOption *findOption(const std::string &name, std::span<const programOption> options)
{
    for (const programOption &option : options)
    {
        if (name == option.name)
        {
            return &option;
        }
    }
    return nullptr;
}

void noteError(commandLine &line, const std::string &error)
{
    if (line.error.empty())
    {
        line.error = error;
    }
}

} // namespace

commandLine readCommandLine(int wordCount, const char *const *words, std::span<const programOption> options)
{
    commandLine line;
    for (int i = 1; i < wordCount; ++i)
    {
        const std::string word = words[i];
        if (!word.starts_with("--"))
        {
            line.files.push_back(word);
            continue;
        }
        const programOption *option = findOption(word, options);
        if (option == nullptr)
        {
            noteError(line, "unknown option " + word);
            return line;
        }
        const bool takesValue = *option->valueName != '\0';
        if (takesValue && i + 1 == wordCount)
        {
            noteError(line, word + " needs a value: " + option->valueName);
            return line;
        }
        line.given[word].emplace_back(takesValue ? words[++i] : "");
    }
    return line;
}

std::string usageText(const std::string &synopsis, const std::string &purpose, std::span<const programOption> options)
{
    constexpr std::size_t column = 28;
    std::string text = "usage: " + synopsis + "\n" + purpose + "\n\n";
    for (const programOption &option : options)
    {
        std::string head = std::string("  ") + option.name + " " + option.valueName;
        head.resize(std::max(head.size() + 1, column), ' ');
        text += head + option.text + "\n";
    }
    return text;
}

bool isGiven(const commandLine &line, const std::string &name) { return line.given.contains(name); }

std::string textOption(const commandLine &line, const std::string &name, const std::string &fallback)
{
    const auto found = line.given.find(name);
    return found == line.given.end() ? fallback : found->second.back();
}

std::vector<std::string> textOptions(const commandLine &line, const std::string &name)
{
    const auto found = line.given.find(name);
    return found == line.given.end() ? std::vector<std::string>{} : found->second;
}

bool readNumber(const std::string &text, std::int64_t &value)
{
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end;
}

bool readReal(const std::string &text, double &value)
{
    char *stop = nullptr;
    value = std::strtod(text.c_str(), &stop);
    return !text.empty() && *stop == '\0' && std::isfinite(value);
}

std::int64_t numberOption(commandLine &line, const std::string &name, std::int64_t fallback, std::int64_t low,
                          std::int64_t high)
{
    std::int64_t value = fallback;
    if (isGiven(line, name) && (!readNumber(textOption(line, name, ""), value) || value < low || value > high))
    {
        noteError(line, name + " needs a whole number from " + std::to_string(low) + " to " + std::to_string(high) +
                            ", got: " + textOption(line, name, ""));
        return fallback;
    }
    return value;
}

double realOption(commandLine &line, const std::string &name, double fallback, double low, double high)
{
    double value = fallback;
    if (isGiven(line, name) && (!readReal(textOption(line, name, ""), value) || value < low || value > high))
    {
        std::ostringstream text;
        text << name << " needs a number from " << low << " to " << high << ", got: " << textOption(line, name, "");
        noteError(line, text.str());
        return fallback;
    }
    return value;
}

std::vector<std::string> splitWords(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
    {
        words.push_back(word);
    }
    return words;
}

} // namespace tarvonel
