#pragma once

#include "TestSupport/ChildProcess.h"
#include "VideoCore/UniqueFd.h"

#include <cerrno>
#include <filesystem>
#include <format>
#include <memory>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <system_error>

namespace orvo::test {

/// A free port of loopback.
inline std::uint16_t freePort()
{
    const UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (!socket || ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), size) != 0
        || ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::system_error(errno, std::system_category(), "a port of loopback");
    return ntohs(address.sin_port);
}

/// A real S3 server over a folder, with the bucket "videos".
class S3Gateway {
public:
    static constexpr auto accessKey = "acceso";
    static constexpr auto secretKey = "secreto";

    /// Returns nullopt if it is not installed.
    static std::optional<std::string> program()
    {
        for (const auto* program : {"/usr/local/bin/versitygw", "/usr/bin/versitygw"}) {
            if (std::filesystem::exists(program))
                return program;
        }
        return std::nullopt;
    }

    explicit S3Gateway(const std::filesystem::path& folder)
        : m_address(std::format("127.0.0.1:{}", freePort()))
    {
        std::filesystem::create_directories(folder / "videos");
        m_service = std::make_unique<ChildProcess>(boundToThisProcess({program().value(), "--access", accessKey, "--secret",
            secretKey, "--port", m_address, "posix", folder.string()}));
    }

    std::string url() const { return "http://" + m_address; }
    /// The lines that select this store in a server's configuration; the secret key comes from the environment.
    std::string configuration() const
    {
        return std::format("storage = s3\ns3_endpoint = {}\ns3_bucket = videos\ns3_access_key = {}\n", url(), accessKey);
    }

private:
    const std::string m_address;
    std::unique_ptr<ChildProcess> m_service;
};

} // namespace orvo::test
