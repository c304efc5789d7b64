#pragma once

#include "TestSupport/ChildProcess.h"
#include "TestSupport/TemporaryFolder.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::test {

/// The built helper as a browser starts it, with pipes on its standard input and output.
class BridgeProcess {
public:
    explicit BridgeProcess(const std::filesystem::path& library);

    /// Sends one message. A helper that has ended takes none.
    void send(std::string_view message);
    /// Sends bytes as they are.
    void sendBytes(std::string_view bytes);

    /// The next answer; nothing when there is none any more.
    std::optional<std::string> answer();

    /// Closes its input, as a browser does that goes away, and waits. Returns the exit status, or −1 after a signal.
    int hangUp() { return m_process.wait(); }

    void kill(int signal) { m_process.end(signal); }

    /// The most memory it has had so far, in bytes.
    std::size_t peakMemory() const;

    /// The data folder of its user.
    const std::filesystem::path& home() const { return m_home.path(); }

private:
    TemporaryFolder m_home;
    ChildProcess m_process;
};

/// A "chunk" message.
std::string chunkMessage(std::string_view track, int sequence, std::string_view data);

} // namespace orvo::test
