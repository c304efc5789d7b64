#include "AudioWorld.h"

#include <QProcess>
#include <stdexcept>
#include <unistd.h>

namespace orvo::test {

namespace {

constexpr auto variable = "XDG_RUNTIME_DIR";

} // namespace

AudioWorld::AudioWorld()
    : m_before(qgetenv(variable))
{
    qputenv(variable, QByteArray::fromStdString(m_folder.path().string()));
    m_rig.emplace(std::vector<std::string>{"python3", ORVO_AUDIO_RIG, m_folder.path().string()});
    if (m_rig->readLine() != "ready")
        throw std::runtime_error("no audio server");
}

AudioWorld::~AudioWorld()
{
    m_rig->wait();
    if (m_before.isEmpty())
        qunsetenv(variable);
    else
        qputenv(variable, m_before);
}

void AudioWorld::command(const std::string& line)
{
    if (::write(m_rig->input(), (line + "\n").data(), line.size() + 1) < 0 || m_rig->readLine() != "done")
        throw std::runtime_error("the audio rig has ended");
}

QByteArray AudioWorld::pactl(const QStringList& arguments)
{
    QProcess process;
    process.start("pactl", arguments);
    if (!process.waitForFinished(20'000) || process.exitCode() != 0)
        throw std::runtime_error("pactl: " + process.readAllStandardError().toStdString());
    return process.readAllStandardOutput();
}

void AudioWorld::addSink(const QString& name, const QStringList& more)
{
    pactl(QStringList{"load-module", "module-null-sink", "sink_name=" + name} + more);
}

} // namespace orvo::test
