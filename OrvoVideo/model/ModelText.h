#pragma once

#include "VideoCore/Uuid.h"
#include "VideoCore/VideoProject.h"

#include <QDateTime>
#include <QString>
#include <filesystem>

/// Conversions between document values and the values of the windows.
namespace orvo::Text {

QString from(const std::string& text);
QString from(const Uuid& id);
QString from(const std::filesystem::path& path);
QDateTime from(DateTime instant);

/// Parses an identifier from the windows; returns one that no record has for an invalid text.
Uuid toId(const QString& text);

/// The labels of `VideoCore/Labels.h`.
QString ofState(const std::string& state);
QString ofKind(TrackKind kind);
QString ofSize(double bytes);

/// Whether the user has to recover a project in this state.
bool isRecoverable(const std::string& state);

} // namespace orvo::Text
