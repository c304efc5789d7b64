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

/// The author's permission to use a remote store, where the store needs one.
struct StoreAuthorisation {
    std::function<void(const std::string& clientId, const std::string& clientSecret)> configure;
    std::function<std::string()> start; ///< Returns the address to open.
    std::function<void(const std::string& code, const std::string& state)> finish;
};

/// What the application asks for, below "api/", and the return from the store's authorisation.
class PublishingApi {
public:
    struct Settings {
        std::string address; ///< The public address, without a slash at its end.
        std::filesystem::path dataFolder;
        std::uint64_t quota = 0; ///< Bytes that may be stored; 0 for no limit.
        std::uint64_t reserve = std::uint64_t{1} << 30U; ///< Bytes of the disk that stay free.
    };
    struct Parts {
        Catalogue& catalogue;
        Uploads& uploads;
        Storing& storing;
        BlobStore& store;
        LiveVideos& videos;
        Credential& credential;
        std::optional<StoreAuthorisation> authorisation; ///< nullopt for a store that needs none.
    };

    PublishingApi(Settings settings, Parts parts);

    /// nullopt when the target is none of these routes. Does not block.
    std::optional<Plan> plan(const Request& request, const Target& target);

private:
    using Arguments = std::vector<std::string>;
    struct Route {
        Method method;
        std::string_view pattern;
        std::size_t bodyLimit;
        Response (PublishingApi::*answer)(const Request&, const Arguments&);
    };

    /// What Google's redirection after the author's consent is answered with.
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

/// The token of an "Authorization: Bearer" header; empty for none.
std::string_view bearerToken(const Request& request);

} // namespace orvo::server
