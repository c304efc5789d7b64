#include "Platform/attention/DesktopNotice.h"
#include "Platform/attention/LauncherProgress.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/FakeNotifications.h"
#include "TestSupport/PrivateBus.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QObject>
#include <gtest/gtest.h>

namespace orvo::test {

/// Receives the progress as a task bar does.
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

TEST(AttentionTests, ShowsNoticesAndTheirButton)
{
    const PrivateBus bus;
    FakeNotifications desktop(bus.address());
    DesktopNotice notice;
    int clicks = 0;
    int presses = 0;
    QObject::connect(&notice, &DesktopNotice::clicked, [&] { ++clicks; });
    QObject::connect(&notice, &DesktopNotice::buttonPressed, [&] { ++presses; });
    notice.show("Vídeo exportado", "a<b>.mp4 · 7,5 MB", {.click = "Abrir", .button = "Mostrar"});
    ASSERT_TRUE(comesToHold([&] { return desktop.title == "Vídeo exportado"; }));
    EXPECT_EQ(desktop.text, "a&lt;b&gt;.mp4 · 7,5 MB");
    EXPECT_EQ(desktop.actions, (QStringList{"default", "Abrir", "button", "Mostrar"}));

    // The next notice replaces the first once its identifier is known. The round trip makes sure that it has arrived.
    desktop.flush();
    QDBusConnection::sessionBus().interface()->isServiceRegistered("es.orvo.video");
    QCoreApplication::processEvents();
    notice.show("Otro", "");
    ASSERT_TRUE(comesToHold([&] { return desktop.title == "Otro"; }));
    EXPECT_TRUE(desktop.hasReplaced);
    EXPECT_TRUE(desktop.actions.isEmpty());
    emit desktop.ActionInvoked(99, "button");
    emit desktop.ActionInvoked(FakeNotifications::id, "button");
    EXPECT_TRUE(comesToHold([&] { return presses == 1; }));
    EXPECT_EQ(clicks, 0);

    // A notice that is closed before the desktop has answered disappears as well.
    notice.show("Más", "");
    notice.close();
    const int shown = desktop.count;
    EXPECT_TRUE(comesToHold([&] { return desktop.count > shown && desktop.title.isEmpty(); }));
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
