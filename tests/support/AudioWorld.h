#pragma once

#include "TestSupport/ChildProcess.h"
#include "TestSupport/SessionBus.h"

#include <QByteArray>
#include <QStringList>
#include <optional>
#include <string>

namespace orvo::test {

/// A private audio system, run by tests/support/audio.py: PipeWire with the PulseAudio protocol, loudspeakers whose monitor
/// is the system audio, and a microphone that records what is played into "micfeed". Used by this process and its children.
class AudioWorld {
public:
    AudioWorld();
    ~AudioWorld();
    AudioWorld(const AudioWorld&) = delete;
    AudioWorld& operator=(const AudioWorld&) = delete;

    /// Runs pactl and returns its output. Throws `std::runtime_error` if it fails.
    QByteArray pactl(const QStringList& arguments);

    /// Adds an output; its monitor can be recorded.
    void addSink(const QString& name, const QStringList& more = {});

    /// Ends the PulseAudio server and all of its devices.
    void endServer() { command("end server"); }
    /// Starts it again, with loudspeakers and a microphone.
    void startServer() { command("start server"); }
    /// Ends PipeWire itself. It cannot be restarted.
    void endPipeWire() { command("end"); }

    static constexpr auto microphone = "microphone";

private:
    void command(const std::string& line);

    TemporaryFolder m_folder;
    QByteArray m_before;
    SessionBus m_bus;
    std::optional<ChildProcess> m_rig;
};

} // namespace orvo::test
