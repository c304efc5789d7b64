#pragma once

#include "TestSupport/ChildProcess.h"
#include "TestSupport/SessionBus.h"

#include <QByteArray>
#include <QStringList>
#include <optional>
#include <string>

namespace orvo::test {

/// Sound of its own, as tests/support/sound.py makes it: PipeWire with the PulseAudio protocol, loudspeakers whose monitor
/// is the sound of the system, and a microphone that hears what is played into "micfeed". This process and those that it
/// starts take it for theirs.
class AudioWorld {
public:
    AudioWorld();
    ~AudioWorld();
    AudioWorld(const AudioWorld&) = delete;
    AudioWorld& operator=(const AudioWorld&) = delete;

    /// Runs pactl; returns what it says. Throws `std::runtime_error` when it fails.
    QByteArray pactl(const QStringList& arguments);

    /// Adds an output, whose monitor can be recorded.
    void addSink(const QString& name, const QStringList& more = {});

    /// Ends the server of the PulseAudio protocol; everything of it goes.
    void endServer() { command("end server"); }
    /// Starts it again, with loudspeakers and microphone.
    void startServer() { command("start server"); }
    /// Ends PipeWire itself, for good.
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
