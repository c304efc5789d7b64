#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::server {

/// The settings in "orvo-server.conf".
struct Configuration {
    std::string address; ///< Public, without a trailing slash.
    std::string listen = "127.0.0.1:8080";
    std::filesystem::path tlsCertificate; ///< Both empty if a proxy terminates TLS.
    std::filesystem::path tlsKey;
    std::vector<std::string> trustedProxies;
    std::string database; ///< "postgresql://…"; empty for SQLite in the data folder.
    std::filesystem::path uploadsFolder; ///< Shared by several instances; empty for the data folder's own.
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
    std::filesystem::path s3SecretKeyFile; ///< If empty, ORVO_S3_SECRET_KEY is used.

    std::string driveApi; ///< This and the next three are empty for Google's own addresses.
    std::string driveUpload;
    std::string driveAuthorise;
    std::string driveToken;

    /// The path of the address: "" or "/prefix".
    std::string basePath() const;
    bool isSecure() const { return address.starts_with("https://"); }
};

/// Parses "key = value" lines; "#" starts a comment line. Throws `Error` that names the line of an unknown key or an invalid
/// value.
Configuration readConfiguration(std::string_view text);

/// The settings that `init` accepts. The author edits the others in the configuration file.
struct NewServer {
    std::string address;
    std::string listen = "127.0.0.1:8080";
    std::string database; ///< As `Configuration::database`.
};

/// Returns a commented configuration for a new server. Throws `Error` for invalid settings.
std::string newConfiguration(const NewServer& server);

struct HostAndPort {
    std::string host;
    std::uint16_t port = 0;
};

/// Parses "HOST:PORT" or "[IPV6]:PORT". Throws `Error`.
HostAndPort readListen(std::string_view text);

/// Trims blanks and trailing slashes from an address. Throws `Error` unless it is a plain http or https address.
std::string readAddress(std::string_view text);

} // namespace orvo::server
