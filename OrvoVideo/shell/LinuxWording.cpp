#include "OrvoVideo/shell/LinuxWording.h"

#include "VideoMedia/FailureReport.h"
#include "VideoMedia/OverlayImage.h"

#include <QLocale>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <algorithm>
#include <string>
#include <string_view>

namespace orvo {

namespace {

/// The type of a local file; an invalid one for any other address.
QMimeType typeOf(const QUrl& file)
{
    return file.isLocalFile() ? QMimeDatabase().mimeTypeForFile(file.toLocalFile()) : QMimeType();
}

} // namespace

QString Wording::day(const QDateTime& when, const QDateTime& now)
{
    const QDate day = when.toLocalTime().date();
    const QDate today = now.toLocalTime().date();
    if (!day.isValid())
        return {};
    if (day == today)
        return QStringLiteral("hoy");
    if (day == today.addDays(-1))
        return QStringLiteral("ayer");
    const QLocale spanish(QLocale::Spanish, QLocale::Spain);
    return spanish.toString(day, day.year() == today.year() ? QStringLiteral("d MMM") : QStringLiteral("d MMM yyyy"));
}

QString Wording::cause(const QString& message) const
{
    constexpr qsizetype longest = 400; // Characters that are read at a glance.
    constexpr qsizetype mostLines = 6;
    if (message.size() <= longest && message.count(QLatin1Char('\n')) < mostLines)
        return message;
    const std::string report = message.toStdString();
    const std::string_view line = FailureReport::cause(report);
    if (!line.empty() && line.data() != report.data()) {
        const qsizetype colon = message.indexOf(QLatin1String(": "));
        const qsizetype firstEnd = message.indexOf(QRegularExpression(QStringLiteral("[\r\n]")));
        const QString beginning = colon >= 0 && colon < firstEnd ? message.first(colon + 2) : QString();
        return beginning + QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size())).left(longest);
    }
    return message.first(longest) + QChar(0x2026);
}

bool Wording::isMovie(const QUrl& file) const
{
    return typeOf(file).name().startsWith(QLatin1String("video/"));
}

bool Wording::isImage(const QUrl& file) const
{
    const QMimeType type = typeOf(file);
    return std::ranges::any_of(
        OverlayImage::kinds(), [&](const auto& kind) { return type.inherits(QString::fromUtf8(kind.mime)); });
}

} // namespace orvo
