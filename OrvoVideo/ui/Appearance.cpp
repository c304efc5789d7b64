#include "OrvoVideo/ui/Appearance.h"

#include "Platform/settings/StoredSettings.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QStyleHints>

namespace orvo {

namespace {

constexpr auto service = "org.freedesktop.portal.Desktop";
constexpr auto path = "/org/freedesktop/portal/desktop";
constexpr auto interface = "org.freedesktop.portal.Settings";
constexpr auto motionGroup = "org.gnome.desktop.interface";
constexpr auto motionKey = "enable-animations";

constexpr std::string_view storedChoice = "appearance";

const QString lightChoice = QStringLiteral("light");
const QString darkChoice = QStringLiteral("dark");

QString validChoice(const QString& choice)
{
    return choice == lightChoice || choice == darkChoice ? choice : QStringLiteral("system");
}

} // namespace

Appearance::Appearance(QObject* parent)
    : QObject(parent)
    , m_choice(validChoice(QString::fromStdString(StoredSettings::text(storedChoice).value_or(""))))
{
    connect(QGuiApplication::styleHints(), &QStyleHints::colorSchemeChanged, this, &Appearance::darkChanged);
    askDesktop();
}

void Appearance::setChoice(const QString& choice)
{
    if (m_choice == validChoice(choice))
        return;
    m_choice = validChoice(choice);
    StoredSettings::remember(storedChoice, m_choice.toStdString());
    emit choiceChanged();
    emit darkChanged();
}

bool Appearance::dark() const
{
    if (m_choice == darkChoice || m_choice == lightChoice)
        return m_choice == darkChoice;
    return QGuiApplication::styleHints()->colorScheme() != Qt::ColorScheme::Light;
}

void Appearance::askDesktop()
{
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
        SLOT(noteDesktopSetting(QString, QString, QDBusVariant)));
    auto question = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    question << QString::fromLatin1(motionGroup) << QString::fromLatin1(motionKey);
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isValid())
            noteDesktopSetting(motionGroup, motionKey, reply.value());
        answer->deleteLater();
    });
}

void Appearance::noteDesktopSetting(const QString& group, const QString& key, const QDBusVariant& value)
{
    if (group != QLatin1String(motionGroup) || key != QLatin1String(motionKey))
        return;
    // The older method wraps the value in two variants, the signal in one.
    QVariant plain = value.variant();
    while (plain.canConvert<QDBusVariant>())
        plain = plain.value<QDBusVariant>().variant();
    setReducedMotion(!plain.toBool());
}

void Appearance::setReducedMotion(bool reduced)
{
    if (m_reducedMotion == reduced)
        return;
    m_reducedMotion = reduced;
    emit reducedMotionChanged();
}

} // namespace orvo
