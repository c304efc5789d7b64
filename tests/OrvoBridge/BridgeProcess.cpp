#include "BridgeProcess.h"

#include <cstdint>
#include <cstring>
#include <format>
#include <fstream>
#include <openssl/evp.h>
#include <poll.h>
#include <unistd.h>

namespace orvo::test {

BridgeProcess::BridgeProcess(const std::filesystem::path& library)
    // Browsers pass the extension's origin.
    : m_process({ORVO_BRIDGE, "chrome-extension://abcdefghijklmnopabcdefghijklmnop/"},
          {{"ORVO_LIBRARY", library.string()}, {"XDG_DATA_HOME", m_home.path().string()}})
{
    std::signal(SIGPIPE, SIG_IGN);
}

void BridgeProcess::send(std::string_view message)
{
    const auto length = static_cast<std::uint32_t>(message.size());
    std::string bytes(sizeof length, '\0');
    std::memcpy(bytes.data(), &length, sizeof length);
    sendBytes(bytes.append(message));
}

void BridgeProcess::sendBytes(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_process.input(), bytes.data(), bytes.size());
        if (written <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

std::optional<std::string> BridgeProcess::answer()
{
    const auto read = [this](char* to, std::size_t count) {
        while (count > 0) {
            pollfd waiting{.fd = m_process.output(), .events = POLLIN};
            if (::poll(&waiting, 1, 60'000) <= 0)
                return false;
            const ssize_t got = ::read(m_process.output(), to, count);
            if (got <= 0)
                return false;
            to += got;
            count -= static_cast<std::size_t>(got);
        }
        return true;
    };
    std::uint32_t length = 0;
    if (!read(reinterpret_cast<char*>(&length), sizeof length))
        return std::nullopt;
    std::string text(length, '\0');
    if (!read(text.data(), text.size()))
        return std::nullopt;
    return text;
}

std::size_t BridgeProcess::peakMemory() const
{
    std::ifstream status(std::format("/proc/{}/status", m_process.pid()));
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:"))
            return std::stoull(line.substr(6)) * 1024;
    }
    return 0;
}

std::string chunkMessage(std::string_view track, int sequence, std::string_view data)
{
    std::string base64(4 * ((data.size() + 2) / 3) + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(base64.data()), reinterpret_cast<const unsigned char*>(data.data()),
        static_cast<int>(data.size()));
    base64.pop_back();
    return std::format(R"({{"type":"chunk","track":"{}","sequence":{},"data":"{}"}})", track, sequence, base64);
}

} // namespace orvo::test
