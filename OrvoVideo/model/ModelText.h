#pragma once

#include "VideoCore/Uuid.h"
#include "VideoCore/VideoProject.h"

#include <QDateTime>
#include <QString>
#include <filesystem>

/// The values of the document as the windows take and show them.
namespace orvo::Text {

QString from(const std::string& text);
QString from(const Uuid& id);
QString from(const std::filesystem::path& path);
QDateTime from(DateTime instant);

/// An identifier as the windows hand it back; one that no record has for a text that is none.
Uuid toId(const QString& text);

/// The labels of `VideoCore/Labels.h`.
QString ofState(const std::string& state);
QString ofKind(TrackKind kind);
QString ofSize(double bytes);

/// Whether a project in this state waits to be recovered by the user.
bool isRecoverable(const std::string& state);

} // namespace orvo::Text
