#pragma once

#include "OrvoServer/http/TlsCertificate.h"
#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/store/Database.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace orvo::server {

/// The result of one check. The texts are Spanish.
struct HealthCheck {
    std::string name;
    bool isGood = false;
    std::string detail;
    std::string remedy; ///< Empty if the check passed.
};

struct HealthInputs {
    std::filesystem::path dataFolder;
    std::uint64_t reserve = 0; ///< Minimum free disk space, in bytes.
    std::string address;
    Database* database = nullptr;
    BlobStore* store = nullptr;
    const TlsCertificate* certificate = nullptr; ///< Null if a proxy terminates TLS.
};

/// Checks the address, disk, database, store, clock and certificate. Blocks; does not throw.
std::vector<HealthCheck> healthChecks(const HealthInputs& inputs);

} // namespace orvo::server
