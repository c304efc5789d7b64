#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::server {

/// What the author writes into "orvo-server.conf".
struct Configuration {
    std::string address; ///< Public, without a slash at its end.
    std::string listen = "127.0.0.1:8080";
    std::filesystem::path tlsCertificate; ///< Both empty where a proxy speaks TLS.
    std::filesystem::path tlsKey;
    std::vector<std::string> trustedProxies;
    std::string database; ///< "postgresql://…"; empty for a file of the data folder.
    std::filesystem::path uploadsFolder; ///< Where several instances share one; empty for the data folder's.
    std::string storage = "local"; ///< "local", "s3" or "drive".
    std::uint64_t quotaGigabytes = 0; ///< 0 for no limit.
    std::uint64_t cacheGigabytes = 20;
    std::int64_t ticketSeconds = 600;
    std::size_t maxConnections = 20000;
    std::int64_t graceSeconds = 30;

    std::string s3Endpoint;
    std::string s3Region = "us-east-1";
    std::string s3Bucket;
    std::string s3Prefix;
    std::string s3AccessKey;
    std::filesystem::path s3SecretKeyFile; ///< Empty for the environment's ORVO_S3_SECRET_KEY.

    std::string driveApi; ///< Empty for Google's own.
    std::string driveUpload;
    std::string driveAuthorise;
    std::string driveToken;

    /// "" or "/prefix": the path of the address.
    std::string basePath() const;
    bool isSecure() const { return address.starts_with("https://"); }
};

/// Reads "key = value" lines; "#" begins a comment line. Throws `Error` that names the line for an unknown key or a wrong
/// value.
Configuration readConfiguration(std::string_view text);

/// The settings that `init` takes. The author changes the others in the configuration file.
struct NewServer {
    std::string address;
    std::string listen = "127.0.0.1:8080";
    std::string database; ///< As `Configuration::database`.
};

/// A commented configuration for a new server. Throws `Error` for what it could not hold.
std::string newConfiguration(const NewServer& server);

struct HostAndPort {
    std::string host;
    std::uint16_t port = 0;
};

/// Reads "HOST:PORT", or "[IPV6]:PORT". Throws `Error`.
HostAndPort readListen(std::string_view text);

/// An address without blanks and slashes at its end. Throws `Error` unless it is http or https.
std::string readAddress(std::string_view text);

} // namespace orvo::server
