#pragma once

#include <QDateTime>
#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// Texts that the windows make of values, and what they need to know about dropped files.
class Wording : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;

    /// When something was, as briefly as it can be said at `now`: "hoy", "ayer", "3 feb", "3 feb 2025".
    static QString day(const QDateTime& when, const QDateTime& now);
    Q_INVOKABLE QString day(const QDateTime& when) const { return day(when, QDateTime::currentDateTime()); }

    /// How much of a disk something takes: "7,5 MB".
    Q_INVOKABLE QString size(double bytes) const;

    /// Minutes and seconds, "62:05", and with tenths where a second is too coarse, "62:05,4".
    Q_INVOKABLE static QString time(double seconds);
    Q_INVOKABLE QString exactTime(double seconds) const;

    /// About how long something takes: "unos 20 segundos", "unos 3 minutos", "1 h 10 min".
    Q_INVOKABLE QString about(double seconds) const;

    /// A text as it is shown on this system: some fixed texts name another system's things. Returns any other text
    /// unchanged.
    Q_INVOKABLE QString here(const QString& text) const;

    /// A text whose key combinations are written in signs, in the names that this system's keyboards show:
    /// "Ctrl+Alt+Super+R" for "⌃⌥⌘R".
    Q_INVOKABLE static QString keys(QString text);

    /// What a person reads of a message first. The report of a program that failed gives its reason near its end: the cause
    /// is the message's beginning with that line. A short message is its own cause.
    Q_INVOKABLE QString cause(const QString& message) const;

    /// Whether a local file is a movie, or an image that can be laid over one, by its name and its first bytes.
    Q_INVOKABLE bool isMovie(const QUrl& file) const;
    Q_INVOKABLE bool isImage(const QUrl& file) const;
};

} // namespace orvo
