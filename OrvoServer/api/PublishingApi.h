#pragma once

#include "OrvoServer/http/Message.h"
#include "OrvoServer/http/Target.h"
#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/store/Credential.h"
#include "OrvoServer/store/Storing.h"
#include "OrvoServer/store/Uploads.h"
#include "OrvoServer/viewers/LiveVideos.h"

#include <functional>
#include <optional>
#include <string>

namespace orvo::server {

/// Grants access to a remote store on behalf of the author.
struct StoreAuthorisation {
    std::function<void(const std::string& clientId, const std::string& clientSecret)> configure;
    std::function<std::string()> start; ///< Returns the address to open.
    std::function<void(const std::string& code, const std::string& state)> finish;
};

/// Serves the application's requests below "api/", and the callback of the store's authorisation.
class PublishingApi {
public:
    struct Settings {
        std::string address; ///< The public address, without a trailing slash.
        std::filesystem::path dataFolder;
        std::uint64_t quota = 0; ///< Maximum stored bytes; 0 for no limit.
        std::uint64_t reserve = std::uint64_t{1} << 30U; ///< Minimum free disk space, in bytes.
    };
    struct Parts {
        Catalogue& catalogue;
        Uploads& uploads;
        Storing& storing;
        BlobStore& store;
        LiveVideos& videos;
        Credential& credential;
        std::optional<StoreAuthorisation> authorisation; ///< nullopt if the store needs none.
    };

    PublishingApi(Settings settings, Parts parts);

    /// Returns nullopt if no route matches the target. Does not block.
    std::optional<Plan> plan(const Request& request, const Target& target);

private:
    using Arguments = std::vector<std::string>;
    struct Route {
        Method method;
        std::string_view pattern;
        std::size_t bodyLimit;
        Response (PublishingApi::*answer)(const Request&, const Arguments&);
    };

    /// The page that Google redirects the author to after the consent.
    Response authorisationPage(const std::optional<std::string>& code, const std::optional<std::string>& state);
    Response status(const Request& request, const Arguments& arguments);
    Response announce(const Request& request, const Arguments& arguments);
    Response registerRevision(const Request& request, const Arguments& arguments);
    Response revision(const Request& request, const Arguments& arguments);
    Response retry(const Request& request, const Arguments& arguments);
    Response publish(const Request& request, const Arguments& arguments);
    Response offset(const Request& request, const Arguments& arguments);
    Response setAccess(const Request& request, const Arguments& arguments);
    Response withdraw(const Request& request, const Arguments& arguments);
    Response configureStore(const Request& request, const Arguments& arguments);
    Response connectStore(const Request& request, const Arguments& arguments);
    std::optional<Response> withoutRoom(std::uint64_t bytes);
    static const std::vector<Route>& routes();

    const Settings m_settings;
    const Parts m_parts;
};

/// The token of an "Authorization: Bearer" header; empty if there is none.
std::string_view bearerToken(const Request& request);

} // namespace orvo::server
