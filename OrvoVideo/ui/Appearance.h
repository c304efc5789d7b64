#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// Dark or light windows and reduced motion, from the desktop's settings and the user's stored choice. Main thread only.
class Appearance : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// "system", "dark" or "light".
    Q_PROPERTY(QString choice READ choice WRITE setChoice NOTIFY choiceChanged)
    Q_PROPERTY(bool dark READ dark NOTIFY darkChanged)
    Q_PROPERTY(bool reducedMotion READ reducedMotion NOTIFY reducedMotionChanged)
public:
    explicit Appearance(QObject* parent = nullptr);

    QString choice() const { return m_choice; }
    /// Stores the choice for later runs. Treats an unknown value as "system".
    void setChoice(const QString& choice);

    /// Dark unless the user or the desktop chooses light.
    bool dark() const;

    /// Whether the desktop requests no animations. False until it answers.
    bool reducedMotion() const { return m_reducedMotion; }

signals:
    void choiceChanged();
    void darkChanged();
    void reducedMotionChanged();

private slots:
    void noteDesktopSetting(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void askDesktop();
    void setReducedMotion(bool reduced);

    QString m_choice;
    bool m_reducedMotion = false;
};

} // namespace orvo
