#include "VideoCore/DateTime.h"

#include <charconv>
#include <format>

namespace orvo {

namespace {

/// Parses `length` decimal digits of `text` at `position`; returns nullopt when one is not a digit.
std::optional<int> digits(std::string_view text, std::size_t position, std::size_t length)
{
    int value = 0;
    for (const char c : text.substr(position, length)) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return value;
}

} // namespace

DateTime now()
{
    return std::chrono::floor<DateTime::duration>(std::chrono::system_clock::now());
}

std::string formatIso8601(DateTime instant)
{
    return std::format("{:%FT%TZ}", std::chrono::floor<std::chrono::seconds>(instant));
}

std::optional<DateTime> parseIso8601(std::string_view text)
{
    using namespace std::chrono;
    constexpr std::string_view form = "dddd-dd-ddTdd:dd:ddZ";
    if (text.size() != form.size())
        return std::nullopt;
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (form[i] != 'd' && text[i] != form[i])
            return std::nullopt;
    }
    const auto yearValue = digits(text, 0, 4);
    const auto monthValue = digits(text, 5, 2);
    const auto dayValue = digits(text, 8, 2);
    const auto hourValue = digits(text, 11, 2);
    const auto minuteValue = digits(text, 14, 2);
    const auto secondValue = digits(text, 17, 2);
    if (!yearValue || !monthValue || !dayValue || !hourValue || !minuteValue || !secondValue)
        return std::nullopt;
    const year_month_day date(
        year(*yearValue), month(static_cast<unsigned>(*monthValue)), day(static_cast<unsigned>(*dayValue)));
    if (!date.ok() || *hourValue > 23 || *minuteValue > 59 || *secondValue > 59)
        return std::nullopt;
    return DateTime(sys_days(date)) + hours(*hourValue) + minutes(*minuteValue) + seconds(*secondValue);
}

} // namespace orvo
