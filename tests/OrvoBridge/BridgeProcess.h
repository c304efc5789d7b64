#pragma once

#include "TestSupport/ChildProcess.h"
#include "TestSupport/TemporaryFolder.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::test {

/// Runs the built helper as a browser does, with pipes on its standard input and output.
class BridgeProcess {
public:
    explicit BridgeProcess(const std::filesystem::path& library);

    /// Sends one message. Ignores errors, since the helper may have ended.
    void send(std::string_view message);
    /// Sends raw bytes. Ignores errors.
    void sendBytes(std::string_view bytes);

    /// Waits up to a minute for the next answer; returns nullopt without one, and at the end of the output.
    std::optional<std::string> answer();

    /// Closes the helper's input, as a closing browser does, and waits. Returns the exit status, or −1 after a signal.
    int hangUp() { return m_process.wait(); }

    void kill(int signal) { m_process.end(signal); }

    /// The peak memory use so far, in bytes.
    std::size_t peakMemory() const;

    /// The user's data folder.
    const std::filesystem::path& home() const { return m_home.path(); }

private:
    TemporaryFolder m_home;
    ChildProcess m_process;
};

/// Builds a "chunk" message.
std::string chunkMessage(std::string_view track, int sequence, std::string_view data);

} // namespace orvo::test
