#include "cli/ArgumentValues.h"

#include "VideoCore/Utf8.h"
#include "cli/ExitStatus.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <format>

namespace orvo::cli {

namespace {

/// Parses up to nine digits, without a sign.
std::optional<double> parseDigits(std::string_view text)
{
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string_view::npos)
        return std::nullopt;
    double value = 0;
    for (const char digit : text)
        value = value * 10 + (digit - '0');
    return value;
}

[[noreturn]] void refuse(std::string_view name, std::string_view text, std::string_view expected)
{
    throw UsageError(std::format("{} {} no vale: {}.", name, inQuotes(text), expected));
}

void checkRange(std::string_view name, std::string_view text, double value, Range range)
{
    if (value >= range.lowest && value <= range.highest)
        return;
    refuse(name, text, std::format("debe estar entre {} y {}", shortNumber(range.lowest), shortNumber(range.highest)));
}

} // namespace

std::optional<double> parseNumber(std::string_view text)
{
    std::string digits(text);
    if (const auto comma = digits.find(','); comma != std::string::npos && !digits.contains('.'))
        digits[comma] = '.';
    const char* begin = digits.data();
    const char* end = begin + digits.size();
    if (begin != end && *begin == '+')
        ++begin;
    double value = 0;
    const auto [stopped, error] = std::from_chars(begin, end, value);
    const bool signedTwice = begin != digits.data() && digits.starts_with("+-");
    if (error != std::errc() || stopped != end || !std::isfinite(value) || signedTwice)
        return std::nullopt;
    return value;
}

std::optional<double> parseTime(std::string_view text)
{
    if (!text.contains(':'))
        return parseNumber(text);
    const double sign = text.starts_with('-') ? -1 : 1;
    if (text.starts_with('-') || text.starts_with('+'))
        text.remove_prefix(1);
    const std::size_t lastColon = text.rfind(':');
    const std::string_view secondsText = text.substr(lastColon + 1);
    if (secondsText.empty() || secondsText.front() < '0' || secondsText.front() > '9')
        return std::nullopt;
    const auto seconds = parseNumber(secondsText);
    std::string_view before = text.substr(0, lastColon);
    std::optional<double> hours = 0;
    const std::size_t colon = before.find(':');
    if (colon != std::string_view::npos) {
        hours = parseDigits(before.substr(0, colon));
        before.remove_prefix(colon + 1);
    }
    const auto minutes = parseDigits(before);
    if (!hours || !minutes || !seconds || *seconds >= 60 || (colon != std::string_view::npos && *minutes >= 60))
        return std::nullopt;
    return sign * (*hours * 3600 + *minutes * 60 + *seconds);
}

double numberArgument(std::string_view name, std::string_view text, Range range)
{
    const auto value = parseNumber(text);
    if (!value)
        refuse(name, text, "debe ser un número");
    checkRange(name, text, *value, range);
    return *value;
}

std::int64_t integerArgument(std::string_view name, std::string_view text, Range range)
{
    const auto value = parseNumber(text);
    if (!value || *value != std::floor(*value))
        refuse(name, text, "debe ser un número entero");
    checkRange(name, text, *value, range);
    return static_cast<std::int64_t>(*value);
}

double timeArgument(std::string_view name, std::string_view text)
{
    const auto value = parseTime(text);
    if (!value)
        refuse(name, text, "escribe segundos (83.5) o minutos y segundos (1:23.5)");
    return *value;
}

bool flagArgument(std::string_view name, std::string_view text)
{
    constexpr std::array<std::string_view, 6> yes{"true", "sí", "si", "on", "1", "yes"};
    constexpr std::array<std::string_view, 4> no{"false", "no", "off", "0"};
    if (std::ranges::contains(yes, text))
        return true;
    if (std::ranges::contains(no, text))
        return false;
    refuse(name, text, "escribe «sí» o «no»");
}

std::string textArgument(std::string_view name, std::string_view text)
{
    if (!isUtf8(text))
        refuse(name, text, "el texto no es UTF-8 válido");
    return std::string(text);
}

std::string clockTime(double seconds)
{
    const auto whole = static_cast<long long>(std::clamp(seconds, 0.0, 1e15));
    if (whole >= 3600)
        return std::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
    return std::format("{}:{:02}", whole / 60, whole % 60);
}

std::string fineLength(double seconds)
{
    const auto tenths = std::llround(std::clamp(seconds, 0.0, 1e14) * 10);
    const auto whole = tenths / 10;
    const std::string clock = clockTime(static_cast<double>(whole));
    return tenths % 10 == 0 ? clock : std::format("{}.{}", clock, tenths % 10);
}

std::string exactTime(double seconds)
{
    const auto milliseconds = std::llround(std::clamp(std::abs(seconds), 0.0, 1e12) * 1000);
    const std::string sign = seconds < 0 && milliseconds > 0 ? "-" : "";
    const auto whole = milliseconds / 1000;
    const auto fraction = milliseconds % 1000;
    if (whole >= 3600)
        return std::format("{}{}:{:02}:{:02}.{:03}", sign, whole / 3600, whole / 60 % 60, whole % 60, fraction);
    return std::format("{}{}:{:02}.{:03}", sign, whole / 60, whole % 60, fraction);
}

std::string shortNumber(double value)
{
    return std::format("{}", value);
}

} // namespace orvo::cli
