#pragma once

#include <QDateTime>
#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// Formats values for the windows and classifies dropped files.
class Wording : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;

    /// A date relative to `now`, as short as possible: "hoy", "ayer", "3 feb", "3 feb 2025". Empty for an invalid date.
    static QString day(const QDateTime& when, const QDateTime& now);
    Q_INVOKABLE QString day(const QDateTime& when) const { return day(when, QDateTime::currentDateTime()); }

    /// A size in bytes: "7,5 MB".
    Q_INVOKABLE QString size(double bytes) const;

    /// Minutes and seconds: "62:05", or with tenths, "62:05,4".
    Q_INVOKABLE static QString time(double seconds);
    Q_INVOKABLE QString exactTime(double seconds) const;

    /// An approximate duration: "unos 20 segundos", "unos 3 minutos", "1 h 10 min".
    Q_INVOKABLE QString about(double seconds) const;

    /// Translates fixed texts that name parts of another system to this system. Returns any other text unchanged.
    Q_INVOKABLE QString here(const QString& text) const;

    /// Replaces key symbols with the names on this system's keyboards: "Ctrl+Alt+Super+R" for "⌃⌥⌘R".
    Q_INVOKABLE static QString keys(QString text);

    /// The summary of an error message. The report of a failed program gives the reason near its end, so the summary is the
    /// beginning of the message plus that line. Returns a short message unchanged.
    Q_INVOKABLE QString cause(const QString& message) const;

    /// Whether a local file is a movie, or an image usable as an overlay, by its name and first bytes.
    Q_INVOKABLE bool isMovie(const QUrl& file) const;
    Q_INVOKABLE bool isImage(const QUrl& file) const;
};

} // namespace orvo
