// The command line of the training programs: "--name value" and switches, read against a table.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace tarvonel
{

/// One option that a program knows. A switch has no value name.
struct programOption
{
    const char *name;      ///< with its two dashes
    const char *valueName; ///< as the usage text shows it; empty for a switch
    const char *text;      ///< what it does, with its default
};

/// What was given. `error` holds the first thing that was wrong, in one line, or nothing.
struct commandLine
{
    std::map<std::string, std::vector<std::string>> given;
    std::vector<std::string> files; ///< words that belong to no option
    std::string error;
};

/// Reads the words behind the program name. An unknown option or a missing value is an error.
commandLine readCommandLine(int wordCount, const char *const *words, std::span<const programOption> options);

/// The usage text: a line of purpose, then one line for each option.
std::string usageText(const std::string &synopsis, const std::string &purpose, std::span<const programOption> options);

bool isGiven(const commandLine &line, const std::string &name);

/// The last value given, or the fallback.
std::string textOption(const commandLine &line, const std::string &name, const std::string &fallback);

/// All values given, in their order.
std::vector<std::string> textOptions(const commandLine &line, const std::string &name);

/// The last value as a whole number from `low` to `high`; anything else sets `error` and gives the
/// fallback.
std::int64_t numberOption(commandLine &line, const std::string &name, std::int64_t fallback, std::int64_t low,
                          std::int64_t high);

/// The same for a number with a fraction.
double realOption(commandLine &line, const std::string &name, double fallback, double low, double high);

/// Whole text as a number; false if it holds anything else.
bool readNumber(const std::string &text, std::int64_t &value);
bool readReal(const std::string &text, double &value);

/// Cuts a text at each white space.
std::vector<std::string> splitWords(const std::string &text);

} // namespace tarvonel
