#pragma once

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/base/Metrics.h"
#include "OrvoServer/http/Message.h"
#include "OrvoServer/http/Target.h"
#include "OrvoServer/storage/FileSource.h"
#include "OrvoServer/store/Statistics.h"
#include "OrvoServer/viewers/LiveVideos.h"
#include "OrvoServer/viewers/Pages.h"
#include "OrvoServer/viewers/Tickets.h"

namespace orvo::server {

/// The requests of viewers: the player's page, its media, and its reports of playback.
///
/// A player's page is a capability: whoever may load it gets a grant and a ticket. The ticket is part of the media's
/// path, so that the relative addresses in playlists contain it; the player renews it with its grant.
class ViewerRoutes {
public:
    struct Settings {
        std::string address; ///< The public address, without a trailing slash.
        std::int64_t ticketLife = 600; ///< Seconds.
        std::int64_t grantLife = 86400; ///< Seconds.
    };
    struct Parts {
        LiveVideos& videos;
        FileSource& files;
        Statistics& statistics;
        const Tickets& tickets;
        const Pages& pages;
        const Clock& clock;
        Metrics& metrics;
    };

    ViewerRoutes(Settings settings, Parts parts)
        : m_settings(std::move(settings))
        , m_parts(parts)
    {
    }

    /// Returns nullopt when the target is not one of these routes. Does not block.
    std::optional<Plan> plan(const Request& request, const Target& target) const;

    std::string embedAddress(const std::string& video) const { return m_settings.address + "/embed/" + video; }
    std::string watchAddress(const std::string& video) const { return m_settings.address + "/watch/" + video; }

private:
    struct MediaRequest;

    Plan pagePlan(const Request& request, const std::string& video, Permission::Through through) const;
    Response playerPage(const Request& request, const LiveVideo& video, Permission::Through through) const;
    Response unavailable(const Request& request, const LiveVideo& video) const;
    Plan mediaPlan(const Request& request, const Target& target) const;
    bool isAllowed(const Permission& permission, const LiveVideo& video) const;
    Response media(const MediaRequest& media, const std::shared_ptr<const OpenFile>& file) const;
    Response renew(const Request& request) const;
    Response beat(const Request& request) const;
    std::string mediaAddress(const Permission& permission) const;
    /// Writes the members of a response that pass on a permission: "media", "expiresIn", "grant", "revision".
    void writePermission(class JsonWriter& json, Permission permission) const;

    const Settings m_settings;
    const Parts m_parts;
};

} // namespace orvo::server
