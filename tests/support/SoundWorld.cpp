#include "SoundWorld.h"

#include <QThread>
#include <filesystem>
#include <stdexcept>

namespace orvo::test {

namespace {

constexpr auto variable = "XDG_RUNTIME_DIR";

std::unique_ptr<QProcess> started(const QString& program)
{
    auto process = std::make_unique<QProcess>();
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(program, QStringList());
    if (!process->waitForStarted())
        throw std::runtime_error(program.toStdString() + " is missing");
    return process;
}

void end(QProcess& process)
{
    process.terminate();
    if (!process.waitForFinished(5'000)) {
        process.kill();
        process.waitForFinished();
    }
}

} // namespace

SoundWorld::SoundWorld()
    : m_before(qgetenv(variable))
{
    qputenv(variable, QByteArray::fromStdString(m_folder.path().string()));
    m_bus = std::make_unique<PrivateBus>();
    m_programs.push_back(started("pipewire"));
    waitForPipeWire(); // Without it the session manager ends at once.
    m_programs.push_back(started("wireplumber"));
    startServer();
}

SoundWorld::~SoundWorld()
{
    endPipeWire();
    if (m_before.isEmpty())
        qunsetenv(variable);
    else
        qputenv(variable, m_before);
}

void SoundWorld::startServer()
{
    m_server = started("pipewire-pulse");
    waitForServer();
    addSink(speakers);
    addSink(feed);
    pactl({"load-module", "module-remap-source", "master=micfeed.monitor", QString("source_name=%1").arg(microphone)});
    // Right after the start the answer may be that this is not supported.
    for (int i = 0; i < 400; ++i) {
        try {
            pactl({"set-default-sink", speakers});
            pactl({"set-default-source", microphone});
            const auto info = pactl({"info"});
            if (info.contains("Default Sink: speakers") && info.contains("Default Source: rigmic"))
                return;
        } catch (const std::runtime_error&) {
            // Once more.
        }
        QThread::msleep(100);
    }
    throw std::runtime_error("the default devices cannot be set");
}

void SoundWorld::endServer()
{
    if (m_server)
        end(*m_server);
    m_server.reset();
}

void SoundWorld::endPipeWire()
{
    endServer();
    while (!m_programs.empty()) {
        end(*m_programs.back());
        m_programs.pop_back();
    }
}

void SoundWorld::waitForPipeWire() const
{
    for (int i = 0; i < 1'000; ++i) {
        if (std::filesystem::exists(m_folder / "pipewire-0"))
            return;
        QThread::msleep(10);
    }
    throw std::runtime_error("there is no PipeWire");
}

void SoundWorld::waitForServer()
{
    for (int i = 0; i < 1'000; ++i) {
        try {
            if (pactl({"info"}).contains("Server Name"))
                return;
        } catch (const std::runtime_error&) {
            // Not yet.
        }
        QThread::msleep(50);
    }
    throw std::runtime_error("there is no sound server");
}

QByteArray SoundWorld::pactl(const QStringList& arguments)
{
    QProcess process;
    process.start("pactl", arguments);
    if (!process.waitForFinished(20'000) || process.exitCode() != 0)
        throw std::runtime_error("pactl: " + process.readAllStandardError().toStdString());
    return process.readAllStandardOutput();
}

void SoundWorld::addSink(const QString& name, const QStringList& more)
{
    pactl(QStringList{"load-module", "module-null-sink", "sink_name=" + name} + more);
}

} // namespace orvo::test
