#pragma once

#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace orvo::test {

/// The built helper as a browser starts it, with pipes on its standard input and output.
class BridgeProcess {
public:
    explicit BridgeProcess(const std::filesystem::path& library);
    ~BridgeProcess();
    BridgeProcess(const BridgeProcess&) = delete;
    BridgeProcess& operator=(const BridgeProcess&) = delete;

    /// Sends one message. A helper that has ended takes none.
    void send(std::string_view message);
    /// Sends bytes as they are.
    void sendBytes(std::string_view bytes);

    /// The next answer; nothing when there is none any more.
    std::optional<std::string> answer();

    /// Closes its input, as a browser does that goes away, and waits. Returns the exit status, or −1 after a signal.
    int hangUp();

    void kill(int signal);

    /// The most memory it has had so far, in bytes.
    std::size_t peakMemory() const;

private:
    pid_t m_process = -1;
    int m_input = -1;
    int m_output = -1;
};

/// A "chunk" message.
std::string chunkMessage(std::string_view track, int sequence, std::string_view data);

} // namespace orvo::test
