#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// Whether the windows are dark or light, and whether they may move: what the desktop asks for, and the user's own choice,
/// which is kept between runs. Main thread only.
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
    /// Kept for the next runs. Anything that is no choice is "system".
    void setChoice(const QString& choice);

    /// Dark unless the user or the desktop asks for light.
    bool dark() const;

    /// Whether the desktop asks for no animations. False until it has answered.
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
