#pragma once

#include "OrvoServer/api/PublishingApi.h"
#include "OrvoServer/app/DataFolder.h"
#include "OrvoServer/base/Clock.h"
#include "OrvoServer/base/Metrics.h"
#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/storage/FileSource.h"
#include "OrvoServer/storage/Secrets.h"

#include <memory>
#include <optional>

namespace orvo::server {

class BlobCache;
class DriveAuthorisation;
class LocalStore;

/// The configured store, and access to its files on the local disk.
class Stores {
public:
    /// Throws `Error` for an unusable configuration, and file system errors.
    Stores(const Configuration& configuration, const DataFolder& folder, Secrets& secrets, Metrics& metrics,
        const Clock& clock);
    ~Stores();

    BlobStore& store() { return *m_store; }
    FileSource& files() { return *m_files; }
    /// Returns nullopt if the store needs no authorisation.
    std::optional<StoreAuthorisation> authorisation();

private:
    std::shared_ptr<DriveAuthorisation> m_authorisation;
    std::shared_ptr<BlobStore> m_store;
    std::shared_ptr<FileSource> m_files;
};

} // namespace orvo::server
