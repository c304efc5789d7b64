#include "OrvoVideo/Text.h"

#include <algorithm>
#include <array>
#include <utility>

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
    return QDateTime::fromMSecsSinceEpoch(milliseconds.count());
}

Uuid toId(const QString& text)
{
    return Uuid::parse(text.toStdString()).value_or(Uuid());
}

QString ofState(const std::string& state)
{
    static const std::array<std::pair<std::string_view, QString>, 7> texts{{
        {ProjectState::ready, QStringLiteral("Lista")},
        {ProjectState::recording, QStringLiteral("Grabando")},
        {ProjectState::recordingTab, QStringLiteral("Grabando pestaña")},
        {ProjectState::processingTab, QStringLiteral("Preparando")},
        {ProjectState::recoverable, QStringLiteral("Por recuperar")},
        {ProjectState::recoverableTab, QStringLiteral("Por recuperar")},
        {ProjectState::needsRecovery, QStringLiteral("Por recuperar")},
    }};
    const auto found = std::ranges::find(texts, state, [](const auto& entry) { return entry.first; });
    return found == texts.end() ? from(state) : found->second;
}

QString ofKind(TrackKind kind)
{
    switch (kind) {
    case TrackKind::screen:
        return QStringLiteral("Pantalla");
    case TrackKind::camera:
        return QStringLiteral("Cámara");
    case TrackKind::microphone:
        return QStringLiteral("Micrófono");
    case TrackKind::system:
        return QStringLiteral("Sistema");
    case TrackKind::clip:
        return QStringLiteral("Clip");
    }
    return {};
}

bool isRecoverable(const std::string& state)
{
    return state == ProjectState::recoverable || state == ProjectState::needsRecovery;
}

} // namespace orvo::Text
