#include "Platform/workspace/Workspace.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace orvo {

namespace {

constexpr int answerLimit = 5000; ///< Milliseconds; allows for the start of a file manager.

QUrl addressOf(const std::filesystem::path& path)
{
    return QUrl::fromLocalFile(QString::fromStdString(path.string()));
}

/// Uses the file manager on the session bus, else opens the folder with the desktop's default program.
class DesktopWorkspace final : public Workspace {
public:
    void reveal(const std::filesystem::path& file) override
    {
        QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
            QStringLiteral("/org/freedesktop/FileManager1"), QStringLiteral("org.freedesktop.FileManager1"),
            QStringLiteral("ShowItems"));
        call << QStringList{addressOf(file).toString(QUrl::FullyEncoded)} << QString();
        auto* watcher = new QDBusPendingCallWatcher(
            QDBusConnection::sessionBus().asyncCall(call, answerLimit), QCoreApplication::instance());
        const auto folder = file.parent_path();
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [folder](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            if (finished->isError())
                QDesktopServices::openUrl(addressOf(folder));
        });
    }

    void openFolder(const std::filesystem::path& folder) override { QDesktopServices::openUrl(addressOf(folder)); }

    void openFile(const std::filesystem::path& file) override { QDesktopServices::openUrl(addressOf(file)); }

    void openAddress(const std::string& address) override
    {
        const QUrl url(QString::fromStdString(address));
        if (url.isValid() && (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http")))
            QDesktopServices::openUrl(url);
    }

    bool openSettings(SettingsPage page) override
    {
        struct Program {
            const char* name;
            const char* privacy;
            const char* shortcuts;
            const char* audio;
        };
        static constexpr Program programs[]{
            {"gnome-control-center", "privacy", "keyboard", "sound"},
            {"systemsettings", "kcm_app-permissions", "kcm_keys", "kcm_pulseaudio"},
            {"xfce4-settings-manager", nullptr, nullptr, nullptr},
        };
        if (page == SettingsPage::audio) { // Installed by desktops that have no such page.
            if (const QString mixer = QStandardPaths::findExecutable(QStringLiteral("pavucontrol")); !mixer.isEmpty())
                return QProcess::startDetached(mixer, {});
        }
        for (const auto& program : programs) {
            const QString found = QStandardPaths::findExecutable(QString::fromLatin1(program.name));
            if (found.isEmpty())
                continue;
            const char* name = page == SettingsPage::privacy ? program.privacy
                : page == SettingsPage::audio                ? program.audio
                                                             : program.shortcuts;
            if (QProcess::startDetached(found, name ? QStringList{QString::fromLatin1(name)} : QStringList()))
                return true;
        }
        return false;
    }
};

} // namespace

std::unique_ptr<Workspace> Workspace::create()
{
    return std::make_unique<DesktopWorkspace>();
}

} // namespace orvo
