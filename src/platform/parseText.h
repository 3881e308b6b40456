// Parsing text: decimal numbers, fields and words.
#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <istream>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

namespace tarvonel
{

/// `std::from_chars` that skips a plus sign.
template <typename Number> std::from_chars_result scanNumber(std::string_view text, Number &number)
{
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    return std::from_chars(text.data(), text.data() + text.size(), number);
}

/// The whole text as a number, with an optional sign; nothing if it is not one or out of range.
template <typename Number> std::optional<Number> wholeNumber(std::string_view text)
{
    Number number{};
    const auto [end, error] = scanNumber(text, number);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    if constexpr (std::is_floating_point_v<Number>)
        if (!std::isfinite(number))
            return std::nullopt;
    return number;
}

/// The integer at the start of the text, clamped to the range of the type; nothing if the text does not
/// start with an integer.
template <typename Number> std::optional<Number> leadingNumber(std::string_view text)
{
    if constexpr (std::is_unsigned_v<Number>)
        if (text.starts_with('-'))
            return leadingNumber<std::make_signed_t<Number>>(text) ? std::optional(Number{0}) : std::nullopt;
    Number number{};
    const std::errc error = scanNumber(text, number).ec;
    if (error == std::errc::result_out_of_range)
        return text.starts_with('-') ? std::numeric_limits<Number>::min() : std::numeric_limits<Number>::max();
    return error == std::errc{} ? std::optional(number) : std::nullopt;
}

/// The fields of a text, as views of it. Two separators in a row enclose an empty field; one at the end
/// is ignored.
inline std::vector<std::string_view> splitFields(std::string_view text, char separator)
{
    std::vector<std::string_view> fields;
    while (!text.empty())
    {
        const std::size_t length = std::min(text.find(separator), text.size());
        fields.push_back(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return fields;
}

/// The first word of a text; empty if there is none.
inline std::string_view firstWord(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\v\f\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_first_of(blanks));
}

/// Reads words up to `endWord` or the end of the stream, in which case the stream fails. Returns them
/// with one blank between.
inline std::string joinWords(std::istream &words, std::string_view endWord)
{
    std::string joined, word;
    while (words >> word && word != endWord)
        joined += joined.empty() ? word : ' ' + word;
    return joined;
}

} // namespace tarvonel
