#pragma once

#include <QMap>
#include <QObject>
#include <QQmlParserStatus>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <string>

namespace orvo {

/// Stores its own properties between runs, in the user's settings:
///
///     Remembered {
///         category: "editor"
///         property bool transcriptAsList: false
///     }
///
/// is stored under "editor.transcriptAsList". A property keeps its initial value if no stored value fits its type; a `var`
/// holds bytes. Main thread only.
class Remembered : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(QString category MEMBER m_category REQUIRED)
public:
    using QObject::QObject;

    void classBegin() override { }
    void componentComplete() override;

private slots:
    void store();

private:
    std::string keyOf(const QMetaProperty& property) const;

    QString m_category;
    QMap<int, std::string> m_stored; ///< The stored text of each property, by its index.
};

} // namespace orvo
