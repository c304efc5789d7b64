#include "Platform/workspace/Workspace.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/PrivateBus.h"

#include <QDBusConnection>
#include <QDesktopServices>
#include <QUrl>
#include <gtest/gtest.h>

namespace orvo::test {

/// A file manager on the session bus.
class FakeFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    QStringList shown;

public slots:
    void ShowItems(const QStringList& addresses, const QString&) { shown += addresses; } // NOLINT(*-identifier-naming)
};

/// Records the addresses that the desktop would open.
class Desktop : public QObject {
    Q_OBJECT
public:
    Desktop() { QDesktopServices::setUrlHandler("file", this, "open"); }
    ~Desktop() override { QDesktopServices::unsetUrlHandler("file"); }

    QList<QUrl> opened;

public slots:
    void open(const QUrl& address) { opened += address; }
};

namespace {

class WorkspaceTests : public testing::Test {
protected:
    const PrivateBus bus;
    Desktop desktop;
    std::unique_ptr<Workspace> workspace = Workspace::create();
};

TEST_F(WorkspaceTests, RevealsInTheFileManager)
{
    FakeFileManager manager;
    auto connection = QDBusConnection::connectToBus(bus.address(), "file manager");
    ASSERT_TRUE(connection.registerObject("/org/freedesktop/FileManager1", &manager, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(connection.registerService("org.freedesktop.FileManager1"));
    workspace->reveal("/películas/mi vídeo.mp4");
    ASSERT_TRUE(comesToHold([&] { return !manager.shown.isEmpty(); }));
    EXPECT_EQ(manager.shown, QStringList{"file:///pel%C3%ADculas/mi%20v%C3%ADdeo.mp4"});
    EXPECT_TRUE(desktop.opened.isEmpty());
    QDBusConnection::disconnectFromBus("file manager");
}

TEST_F(WorkspaceTests, OpensTheFolderWithoutAFileManager)
{
    workspace->reveal("/películas/mi vídeo.mp4");
    ASSERT_TRUE(comesToHold([&] { return !desktop.opened.isEmpty(); }));
    EXPECT_EQ(desktop.opened, QList<QUrl>{QUrl::fromLocalFile("/películas")});
    workspace->openFolder("/tmp");
    EXPECT_EQ(desktop.opened.back(), QUrl::fromLocalFile("/tmp"));
}

} // namespace
} // namespace orvo::test

#include "WorkspaceTests.moc"
