#pragma once

#include "OrvoServer/http/TlsCertificate.h"
#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/store/Database.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace orvo::server {

/// One thing that was looked at. The texts are Spanish.
struct HealthCheck {
    std::string name;
    bool isGood = false;
    std::string detail;
    std::string remedy; ///< Empty when all is well.
};

struct HealthInputs {
    std::filesystem::path dataFolder;
    std::uint64_t reserve = 0; ///< Bytes that should stay free.
    std::string address;
    Database* database = nullptr;
    BlobStore* store = nullptr;
    const TlsCertificate* certificate = nullptr; ///< Null where a proxy speaks TLS.
};

/// Looks at the address, the disk, the database, the store, the clock and the certificate. Blocks; does not throw.
std::vector<HealthCheck> healthChecks(const HealthInputs& inputs);

} // namespace orvo::server
