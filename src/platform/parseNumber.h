// Decimal numbers in text: digits after an optional sign; real numbers with point and exponent.
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

/// `std::from_chars` that skips a plus sign.
template <typename Number> std::from_chars_result scanNumber(std::string_view text, Number &number)
{
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    return std::from_chars(text.data(), text.data() + text.size(), number);
}

/// The whole text as a number; nothing if it is anything else or out of range.
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

/// The integer at the start of the text, or the nearest of the type if it is out of range; nothing
/// if the text starts with no integer.
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

} // namespace tarvonel
