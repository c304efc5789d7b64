#pragma once

#include "TestSupport/PrivateBus.h"
#include "TestSupport/TemporaryFolder.h"

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <memory>
#include <vector>

namespace orvo::test {

/// Sound of its own: PipeWire with the PulseAudio protocol, loudspeakers whose monitor is the sound of the system, and a
/// microphone that hears what is played into "micfeed". This process and those that it starts take it for theirs.
class SoundWorld {
public:
    SoundWorld();
    ~SoundWorld();
    SoundWorld(const SoundWorld&) = delete;
    SoundWorld& operator=(const SoundWorld&) = delete;

    /// Runs pactl; returns what it says. Throws `std::runtime_error` when it fails.
    QByteArray pactl(const QStringList& arguments);

    /// Adds an output, whose monitor can be recorded.
    void addSink(const QString& name, const QStringList& more = {});

    /// Ends the server of the PulseAudio protocol; everything of it goes.
    void endServer();
    /// Starts it again, with loudspeakers and microphone.
    void startServer();

    /// Ends PipeWire itself, for good.
    void endPipeWire();

    static constexpr auto speakers = "speakers";
    static constexpr auto microphone = "rigmic";
    static constexpr auto feed = "micfeed";

private:
    void waitForPipeWire() const;
    void waitForServer();

    TemporaryFolder m_folder;
    QByteArray m_before;
    std::unique_ptr<PrivateBus> m_bus;
    std::vector<std::unique_ptr<QProcess>> m_programs;
    std::unique_ptr<QProcess> m_server;
};

} // namespace orvo::test
