#include "OrvoVideo/model/ModelText.h"

#include "VideoCore/Labels.h"

#include <QTimeZone>
#include <array>

namespace orvo::Text {

QString from(const std::string& text)
{
    return QString::fromStdString(text);
}

QString from(const Uuid& id)
{
    std::array<char, 36> digits{};
    id.write(digits.data());
    return QString::fromLatin1(digits.data(), digits.size());
}

QString from(const std::filesystem::path& path)
{
    return QString::fromStdString(path.string());
}

QDateTime from(DateTime instant)
{
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(instant.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(milliseconds.count(), QTimeZone::UTC); // Local time would read the zone file.
}

Uuid toId(const QString& text)
{
    return Uuid::parse(text.toStdString()).value_or(Uuid());
}

QString ofState(const std::string& state)
{
    return from(std::string(stateLabel(state)));
}

QString ofKind(TrackKind kind)
{
    return from(std::string(trackLabel(kind)));
}

QString ofSize(double bytes)
{
    return from(sizeLabel(bytes));
}

bool isRecoverable(const std::string& state)
{
    return state == ProjectState::recoverable || state == ProjectState::needsRecovery;
}

} // namespace orvo::Text
