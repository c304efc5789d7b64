#include "OrvoVideo/model/OlderSettings.h"

#include "Platform/settings/StoredSettings.h"
#include "VideoCore/Error.h"

#include <QLoggingCategory>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <exception>

namespace orvo::OlderSettings {

namespace fs = std::filesystem;

namespace {

Q_LOGGING_CATEGORY(log, "orvo.settings")

/// `StoredSettings` holds bytes as base64.
std::string textOf(const QVariant& value)
{
    if (value.metaType() == QMetaType::fromType<QByteArray>())
        return value.toByteArray().toBase64().toStdString();
    return value.toString().toStdString();
}

} // namespace

fs::path usualFile()
{
    return StoredSettings::file().parent_path() / "OrvoVideo.conf";
}

void adopt(const fs::path& file)
{
    std::error_code error;
    if (!fs::is_regular_file(file, error))
        return;
    StoredSettings::Values values;
    {
        const QSettings older(QString::fromStdString(file.string()), QSettings::IniFormat);
        for (const QString& key : older.allKeys())
            values.insert_or_assign(
                QString(key).replace(QLatin1Char('/'), QLatin1Char('.')).toStdString(), textOf(older.value(key)));
    }
    try {
        StoredSettings::setTexts(values, StoredSettings::Present::kept);
        fs::rename(file, fs::path(file) += ".migrated");
    } catch (const std::exception& failure) {
        qCWarning(log) << "the settings of an earlier version are not taken over yet:" << describe(failure).c_str();
    }
}

} // namespace orvo::OlderSettings
