#include "OrvoServer/app/ServiceHandler.h"

#include "OrvoServer/api/Failures.h"
#include "OrvoServer/base/Json.h"

#include <ranges>

namespace orvo::server {

bool ServiceHandler::enter(Target& target) const
{
    std::size_t depth = 0;
    for (const auto part : std::views::split(m_parts.pages.basePath(), '/')) {
        const std::string_view name(part);
        if (name.empty())
            continue;
        if (depth == target.segments.size() || target.segments[depth] != name)
            return false;
        ++depth;
    }
    target.segments.erase(target.segments.begin(), target.segments.begin() + static_cast<std::ptrdiff_t>(depth));
    return true;
}

std::optional<Plan> ServiceHandler::operations(const Request& request, const Target& target)
{
    if (request.method != Method::get || target.segments.size() != 1)
        return std::nullopt;
    if (target.segments[0] == "healthz") {
        return Plan{.what = Plan::Answer{.answer =
                                             [this](const Request&) {
                                                 m_parts.database.read([](Session& session) { session.run("SELECT 1"); });
                                                 return jsonResponse(200,
                                                     JsonWriter()
                                                         .open('{')
                                                         .member("ok", true)
                                                         .member("instance", m_parts.instance)
                                                         .close('}')
                                                         .take());
                                             }},
            .isLogged = false};
    }
    if (target.segments[0] == "metrics") {
        if (m_parts.credential.check(bearerToken(request), request.peer) != Credential::Answer::right)
            return Plan{.what = errorResponse(401, "Credencial incorrecta."), .route = "metrics"};
        Response response{.body = m_parts.metrics.text()};
        response.with("Content-Type", "text/plain; version=0.0.4; charset=utf-8").with("Cache-Control", "no-store");
        return Plan{.what = std::move(response), .isLogged = false};
    }
    return std::nullopt;
}

Plan ServiceHandler::plan(const Request& request)
{
    auto target = parseTarget(request.target);
    if (target && enter(*target)) {
        if (auto plan = operations(request, *target))
            return *std::move(plan);
        if (auto plan = m_parts.viewers.plan(request, *target))
            return *std::move(plan);
        if (auto plan = m_parts.api.plan(request, *target))
            return *std::move(plan);
        if (auto plan = m_parts.admin.plan(request, *target))
            return *std::move(plan);
    }
    if (request.method != Method::get && request.method != Method::head)
        return Plan{.what = errorResponse(target ? 405 : 400, "Esta petición no existe.")};
    return Plan{.what = m_parts.pages.page(target ? 404 : 400, "unavailable.html",
                    {.lang = languageOf(request.headers["Accept-Language"]), .frameAncestors = "frame-ancestors 'none'"})};
}

Response ServiceHandler::failure(const std::exception& error) noexcept
{
    try {
        if (isInternal(error)) {
            ++m_parts.metrics.internalErrors;
            m_parts.log.error("request-failed", {{"reason", std::string_view(error.what())}});
        }
        return failureResponse(error);
    } catch (...) {
        return Response{.status = 500};
    }
}

} // namespace orvo::server
