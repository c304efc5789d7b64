#include "Platform/attention/DesktopNotices.h"
#include "Platform/attention/LauncherProgress.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/PrivateBus.h"

#include <QDBusConnection>
#include <QObject>
#include <gtest/gtest.h>

namespace orvo::test {

/// A desktop that shows notifications.
class FakeNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    QStringList shown;
    QList<uint> replaced;
    QList<uint> closed;

public slots:
    uint Notify(const QString&, uint replaces, const QString&, const QString& title, const QString& text, const QStringList&,
        const QVariantMap&, int) // NOLINT(*-identifier-naming)
    {
        shown << title + " | " + text;
        replaced << replaces;
        return 7;
    }
    void CloseNotification(uint id) { closed << id; } // NOLINT(*-identifier-naming)

signals:
    void ActionInvoked(uint id, const QString& action); // NOLINT(*-identifier-naming)
};

/// A task bar.
class FakeLauncher : public QObject {
    Q_OBJECT
public:
    QVariantMap last;

public slots:
    void update(const QString& application, const QVariantMap& properties)
    {
        if (application == "application://es.orvo.video.desktop")
            last = properties;
    }
};

namespace {

TEST(AttentionTests, ShowsNoticesWithAButton)
{
    const PrivateBus bus;
    FakeNotifications desktop;
    auto connection = QDBusConnection::connectToBus(bus.address(), "notifications");
    ASSERT_TRUE(connection.registerObject(
        "/org/freedesktop/Notifications", &desktop, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
    ASSERT_TRUE(connection.registerService("org.freedesktop.Notifications"));
    DesktopNotices notices;
    int opened = 0;
    int pressed = 0;
    QObject::connect(&notices, &DesktopNotices::opened, [&] { ++opened; });
    QObject::connect(&notices, &DesktopNotices::buttonPressed, [&] { ++pressed; });
    notices.show("Vídeo exportado", "a<b>.mp4 · 7,5 MB", "Mostrar en la carpeta");
    ASSERT_TRUE(comesToHold([&] { return desktop.shown.size() == 1; }));
    EXPECT_EQ(desktop.shown[0], "Vídeo exportado | a&lt;b&gt;.mp4 · 7,5 MB");

    // Another one takes its place, once it is known what the desktop calls the first.
    ASSERT_TRUE(comesToHold([&] {
        notices.show("Otro", "", "Abrir");
        return desktop.replaced.contains(7);
    }));
    emit desktop.ActionInvoked(99, "button");
    emit desktop.ActionInvoked(7, "button");
    EXPECT_TRUE(comesToHold([&] { return pressed == 1; }));
    EXPECT_EQ(opened, 0);
    QDBusConnection::disconnectFromBus("notifications");
}

TEST(AttentionTests, ShowsProgressInTheTaskBar)
{
    const PrivateBus bus;
    FakeLauncher launcher;
    auto connection = QDBusConnection::connectToBus(bus.address(), "launcher");
    ASSERT_TRUE(connection.connect(
        {}, {}, "com.canonical.Unity.LauncherEntry", "Update", &launcher, SLOT(update(QString, QVariantMap))));
    LauncherProgress::show(0.5);
    ASSERT_TRUE(comesToHold([&] { return launcher.last.value("progress-visible").toBool(); }));
    EXPECT_EQ(launcher.last.value("progress").toDouble(), 0.5);
    LauncherProgress::hide();
    EXPECT_TRUE(comesToHold([&] { return !launcher.last.value("progress-visible").toBool(); }));
    QDBusConnection::disconnectFromBus("launcher");
}

} // namespace

} // namespace orvo::test

#include "AttentionTests.moc"
