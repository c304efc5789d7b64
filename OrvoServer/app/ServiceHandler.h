#pragma once

#include "OrvoServer/admin/AdminRoutes.h"
#include "OrvoServer/api/PublishingApi.h"
#include "OrvoServer/base/Log.h"
#include "OrvoServer/viewers/ViewerRoutes.h"

#include <string>

namespace orvo::server {

/// Dispatches requests to the routes of the server's parts.
class ServiceHandler final : public RequestHandler {
public:
    struct Parts {
        PublishingApi& api;
        ViewerRoutes& viewers;
        AdminRoutes& admin;
        const Pages& pages;
        Credential& credential;
        Database& database;
        Metrics& metrics;
        Log& log;
        std::string instance; ///< Identifies this server when several could answer at one address.
    };

    explicit ServiceHandler(Parts parts)
        : m_parts(std::move(parts))
    {
    }

    Plan plan(const Request& request) override;
    Response failure(const std::exception& error) noexcept override;

private:
    std::optional<Plan> operations(const Request& request, const Target& target);
    /// Removes the base path; returns false if the target is outside it.
    bool enter(Target& target) const;

    const Parts m_parts;
};

} // namespace orvo::server
