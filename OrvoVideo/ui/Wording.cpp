#include "OrvoVideo/ui/Wording.h"

#include "VideoCore/Labels.h"
#include "VideoMedia/FailureReport.h"
#include "VideoMedia/OverlayImage.h"

#include <QLocale>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

namespace orvo {

namespace {

/// Fixed texts that name parts of another system, and their wording on this one. An entry that ends in ": " is a prefix.
constexpr struct {
    const char* fixed;
    const char* shown;
} textsHere[]{
    {"Transcripción en tu Mac", "Transcripción en tu equipo"},
    {"La transcripción se procesa en tu Mac.", "La transcripción se procesa en tu equipo."},
    {"Transcribiendo en el Mac · la primera vez se descargarán los modelos…",
        "Transcribiendo en el equipo · la primera vez se descargarán los modelos…"},
    {"La transcripción local no admite este idioma en este Mac.",
        "La transcripción local no admite este idioma en este equipo."},
    {"La extensión necesita configurar su conexión al Mac: ", "La extensión necesita configurar su conexión al equipo: "},
    {"El servidor guarda estas credenciales cifradas. Usa el permiso drive.file. El audio se transcribe en el Mac.",
        "El servidor guarda estas credenciales cifradas. Usa el permiso drive.file. El audio se transcribe en tu equipo."},
    {"Permisos del Mac", "Permisos del equipo"},
};

/// The type of a local file; invalid for any other URL.
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

QString Wording::size(double bytes) const
{
    return QString::fromStdString(sizeLabel(bytes));
}

QString Wording::time(double seconds)
{
    return QString::fromStdString(timeLabel(seconds));
}

QString Wording::exactTime(double seconds) const
{
    return QString::fromStdString(exactTimeLabel(seconds));
}

QString Wording::about(double seconds) const
{
    constexpr double step = 5; // Seconds; estimates are no more precise.
    if (seconds < 2 * step)
        return QStringLiteral("pocos segundos");
    if (seconds < 90)
        return QStringLiteral("unos %1 segundos").arg(std::lround(seconds / step) * static_cast<long>(step));
    const long minutes = std::lround(seconds / 60);
    if (minutes < 60)
        return QStringLiteral("unos %1 minutos").arg(minutes);
    return QStringLiteral("%1 h %2 min").arg(minutes / 60).arg(minutes % 60);
}

QString Wording::here(const QString& text) const
{
    for (const auto& [fixed, shown] : textsHere) {
        const auto name = QString::fromUtf8(fixed);
        if (text == name || (name.endsWith(QLatin1String(": ")) && text.startsWith(name)))
            return QString::fromUtf8(shown) + text.sliced(name.size());
    }
    return text;
}

QString Wording::keys(QString text)
{
    return text.replace(QChar(0x2303), QStringLiteral("Ctrl+"))
        .replace(QChar(0x2325), QStringLiteral("Alt+"))
        .replace(QChar(0x21E7), QStringLiteral("Mayús+"))
        .replace(QChar(0x2318), QStringLiteral("Super+"));
}

QString Wording::cause(const QString& message) const
{
    constexpr qsizetype maxLength = 400; // Characters.
    constexpr qsizetype maxLines = 6;
    if (message.size() <= maxLength && message.count(QLatin1Char('\n')) < maxLines)
        return message;
    const std::string report = message.toStdString();
    const std::string_view line = FailureReport::cause(report);
    if (!line.empty() && line.data() != report.data()) {
        const qsizetype colon = message.indexOf(QLatin1String(": "));
        const qsizetype firstEnd = message.indexOf(QRegularExpression(QStringLiteral("[\r\n]")));
        const QString beginning = colon >= 0 && colon < firstEnd ? message.first(colon + 2) : QString();
        return beginning + QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size())).left(maxLength);
    }
    return message.first(maxLength) + QChar(0x2026);
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
