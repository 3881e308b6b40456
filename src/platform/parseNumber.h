// Decimal numbers in text: digits behind an optional sign, a real number's with point and exponent.
#pragma once

#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace tarvonel
{

/// As `std::from_chars`, but for a plus sign, which is passed over too.
template <typename Number> std::from_chars_result scanNumber(std::string_view text, Number &number)
{
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    return std::from_chars(text.data(), text.data() + text.size(), number);
}

/// The number that the text is as a whole; nothing if it is anything else or beyond the type.
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

/// The integer that the text begins with, the nearest of the type if it is beyond; nothing if the
/// text begins with none.
template <typename Number> std::optional<Number> leadingNumber(std::string_view text)
{
    Number number{};
    const std::errc error = scanNumber(text, number).ec;
    if (error == std::errc::result_out_of_range)
        return text.starts_with('-') ? std::numeric_limits<Number>::min() : std::numeric_limits<Number>::max();
    return error == std::errc{} ? std::optional(number) : std::nullopt;
}

} // namespace tarvonel
