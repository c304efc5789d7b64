#include "OrvoServer/app/Stores.h"

#include "OrvoServer/storage/BlobCache.h"
#include "OrvoServer/storage/DriveStore.h"
#include "OrvoServer/storage/LocalStore.h"
#include "OrvoServer/storage/S3Store.h"
#include "VideoCore/FileIO.h"

#include <cstdlib>

namespace orvo::server {

namespace {

constexpr std::uint64_t gigabyte = 1'000'000'000;

void replaceWhenSet(std::string& setting, const std::string& value)
{
    if (!value.empty())
        setting = value;
}

S3Store::Settings s3Settings(const Configuration& configuration)
{
    const char* environment = std::getenv("ORVO_S3_SECRET_KEY");
    const bool isInFile = !configuration.s3SecretKeyFile.empty();
    if (configuration.s3Endpoint.empty() || configuration.s3Bucket.empty() || configuration.s3AccessKey.empty()
        || (!isInFile && !environment)) {
        throw captureError("Para storage = s3 hacen falta s3_endpoint, s3_bucket, s3_access_key y s3_secret_key_file.");
    }
    S3Store::Settings settings;
    settings.endpoint = configuration.s3Endpoint;
    settings.region = configuration.s3Region;
    settings.bucket = configuration.s3Bucket;
    settings.prefix = configuration.s3Prefix;
    settings.accessKey = configuration.s3AccessKey;
    settings.secretKey = isInFile ? readFile(configuration.s3SecretKeyFile) : environment;
    while (!settings.secretKey.empty() && std::string_view(" \r\n").contains(settings.secretKey.back()))
        settings.secretKey.pop_back();
    return settings;
}

} // namespace

Stores::Stores(
    const Configuration& configuration, const DataFolder& folder, Secrets& secrets, Metrics& metrics, const Clock& clock)
{
    if (configuration.storage == "local") {
        const auto local = std::make_shared<LocalStore>(folder.files());
        m_store = local;
        m_files = local;
        return;
    }
    if (configuration.storage == "s3") {
        m_store = std::make_shared<S3Store>(s3Settings(configuration));
    } else {
        DriveAuthorisation::Settings settings;
        settings.redirectUrl = configuration.address + "/oauth/google/callback";
        settings.now = [&clock] { return std::chrono::system_clock::time_point(std::chrono::seconds(clock.now())); };
        replaceWhenSet(settings.authoriseUrl, configuration.driveAuthorise);
        replaceWhenSet(settings.tokenUrl, configuration.driveToken);
        m_authorisation = std::make_shared<DriveAuthorisation>(settings, secrets);
        DriveStore::Settings drive;
        replaceWhenSet(drive.apiUrl, configuration.driveApi);
        replaceWhenSet(drive.uploadUrl, configuration.driveUpload);
        m_store = std::make_shared<DriveStore>(drive, *m_authorisation);
    }
    m_files = std::make_shared<BlobCache>(*m_store, folder.cache(), configuration.cacheGigabytes * gigabyte, metrics);
}

Stores::~Stores() = default;

std::optional<StoreAuthorisation> Stores::authorisation()
{
    if (!m_authorisation)
        return std::nullopt;
    return StoreAuthorisation{
        .configure = [drive = m_authorisation](
                         const std::string& id, const std::string& secret) { drive->configure(id, secret); },
        .start = [drive = m_authorisation] { return drive->start(); },
        .finish = [drive = m_authorisation](
                      const std::string& code, const std::string& state) { drive->finish(code, state); },
    };
}

} // namespace orvo::server
