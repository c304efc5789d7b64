#pragma once

#include "OrvoServer/admin/AdminSessions.h"
#include "OrvoServer/admin/Health.h"
#include "OrvoServer/http/Message.h"
#include "OrvoServer/http/Target.h"
#include "OrvoServer/storage/FileSource.h"
#include "OrvoServer/store/Statistics.h"
#include "OrvoServer/viewers/ViewerRoutes.h"

#include <functional>
#include <optional>

namespace orvo::server {

/// Serves the administration page and its data below "admin/". The author signs in with the credential.
///
/// Except for the page itself and signing in, every request needs the session cookie. Every change also needs the header
/// "X-Orvo-Admin: 1": forms and images of a foreign page cannot send it.
class AdminRoutes {
public:
    struct Parts {
        Catalogue& catalogue;
        Statistics& statistics;
        LiveVideos& videos;
        FileSource& files;
        Credential& credential;
        AdminSessions& sessions;
        const Pages& pages;
        const ViewerRoutes& viewers;
        HealthInputs health;
        bool isSecure = true; ///< Whether browsers reach the server over https.
        std::string version;
    };

    explicit AdminRoutes(Parts parts)
        : m_parts(std::move(parts))
    {
    }

    /// Returns nullopt if no route matches the target. Does not block.
    std::optional<Plan> plan(const Request& request, const Target& target);

private:
    using Arguments = std::vector<std::string>;
    struct Route {
        Method method;
        std::string_view pattern;
        Response (AdminRoutes::*answer)(const Request&, const Target&, const Arguments&);
    };

    static const std::vector<Route>& routes();
    Response signIn(const Request& request);
    Response signOut(const Request& request, const Target& target, const Arguments& arguments);
    Response list(const Request& request, const Target& target, const Arguments& arguments);
    Response plays(const Request& request, const Target& target, const Arguments& arguments);
    Response check(const Request& request, const Target& target, const Arguments& arguments);
    Response withdraw(const Request& request, const Target& target, const Arguments& arguments);
    Response health(const Request& request, const Target& target, const Arguments& arguments);
    Response poster(const Request& request, const Target& target, const Arguments& arguments);
    std::string cookie(std::string_view value, std::int64_t life) const;

    const Parts m_parts;
};

} // namespace orvo::server
