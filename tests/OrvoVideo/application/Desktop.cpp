#include "Desktop.h"

namespace orvo::test {

QProcessEnvironment Desktop::environment() const
{
    auto variables = QProcessEnvironment::systemEnvironment();
    const auto home = QString::fromStdString(m_home.path().string());
    variables.insert("DISPLAY", m_display.name());
    variables.insert("HOME", home);
    variables.insert("XDG_CACHE_HOME", home + "/cache");
    variables.insert("XDG_CONFIG_HOME", home + "/config");
    variables.insert("QT_QPA_PLATFORM", "xcb");
    variables.remove("WAYLAND_DISPLAY");
    // Without a bus, the application does not ask a desktop for its file panels.
    variables.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home + "/no-bus");
    return variables;
}

bool Desktop::startApplication(const std::filesystem::path& library, const QStringList& arguments)
{
    auto variables = environment();
    variables.insert("ORVO_LIBRARY", QString::fromStdString(library.string()));
    return start(variables, arguments);
}

bool Desktop::startOnBus(const QString& bus)
{
    auto variables = environment();
    variables.insert("DBUS_SESSION_BUS_ADDRESS", bus);
    variables.insert("XDG_DATA_HOME", QString::fromStdString((m_home / "data").string()));
    return start(variables, {});
}

bool Desktop::start(const QProcessEnvironment& variables, const QStringList& arguments)
{
    m_application.setProcessEnvironment(variables);
    m_application.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_application.start(ORVO_APPLICATION, arguments);
    return m_application.waitForStarted() && focusWindow("Orvo Video");
}

bool Desktop::focusWindow(const QString& title)
{
    return m_display.xdotool({"search", "--sync", "--onlyvisible", "--name", title, "windowfocus", "--sync", "%@"});
}

void Desktop::press(const QStringList& keys)
{
    m_display.xdotool(QStringList{"key", "--delay", "30"} + keys);
}

void Desktop::type(const QString& text)
{
    m_display.xdotool({"type", "--delay", "20", text});
}

void Desktop::drag(int fromX, int fromY, int toX, int toY)
{
    QStringList words{"mousemove", QString::number(fromX), QString::number(fromY), "sleep", "0.1", "mousedown", "1"};
    for (int i = 1; i <= 10; ++i) {
        words << "mousemove" << QString::number(fromX + (toX - fromX) * i / 10)
              << QString::number(fromY + (toY - fromY) * i / 10) << "sleep" << "0.02";
    }
    m_display.xdotool(words << "mouseup" << "1");
}

int Desktop::applicationEnd()
{
    return m_application.waitForFinished(60'000) && m_application.exitStatus() == QProcess::NormalExit
        ? m_application.exitCode()
        : -1;
}

void Desktop::killApplication()
{
    m_application.kill();
    m_application.waitForFinished();
}

void Desktop::photograph(const std::filesystem::path& file)
{
    QProcess::execute("ffmpeg",
        {"-v", "error", "-y", "-f", "x11grab", "-video_size", "1280x800", "-i", m_display.name(), "-frames:v", "1",
            QString::fromStdString(file.string())});
}

} // namespace orvo::test
