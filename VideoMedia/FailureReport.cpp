#include "VideoMedia/FailureReport.h"

#include <algorithm>

namespace orvo::FailureReport {

namespace {

bool isProgress(std::string_view line)
{
    const auto equals = line.find('=');
    const auto isLetter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    };
    return equals != line.npos && equals > 0 && std::ranges::all_of(line.substr(0, equals), isLetter);
}

} // namespace

std::string_view cause(std::string_view report)
{
    constexpr std::string_view lineEnds = "\r\n";
    constexpr std::string_view summary = "Conversion failed!";
    while (!report.empty()) {
        const auto before = report.find_last_of(lineEnds);
        const auto line = before == report.npos ? report : report.substr(before + 1);
        const bool isBlank = line.find_first_not_of(" \t") == line.npos;
        if (!isBlank && !line.starts_with(summary) && !isProgress(line))
            return line;
        report = before == report.npos ? std::string_view() : report.substr(0, before);
    }
    return {};
}

} // namespace orvo::FailureReport
