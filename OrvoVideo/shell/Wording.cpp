#include "OrvoVideo/shell/Wording.h"

#include <QLocale>
#include <QMimeDatabase>

namespace orvo {

namespace {

bool hasType(const QUrl& file, QLatin1String family)
{
    return file.isLocalFile() && QMimeDatabase().mimeTypeForFile(file.toLocalFile()).name().startsWith(family);
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

bool Wording::isMovie(const QUrl& file) const
{
    return hasType(file, QLatin1String("video/"));
}

bool Wording::isImage(const QUrl& file) const
{
    return hasType(file, QLatin1String("image/"));
}

} // namespace orvo
