#include "Fuzz.h"
#include "OrvoServer/http/RequestHead.h"
#include "OrvoServer/http/Target.h"
#include "OrvoServer/viewers/Domains.h"

#include <algorithm>
#include <string>

// Three parsers of the publishing server, chosen by the first byte: a request's head, its target, and a domain.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    if (size == 0)
        return 0;
    const auto text = fuzz::textOf(data + 1, size - 1);
    switch (data[0] % 3) {
    case 0: {
        const auto head = server::parseHead(text);
        if (const auto* request = std::get_if<server::Request>(&head)) {
            fuzz::require(text.size() <= server::maxHeadBytes, "a long head is rejected");
            fuzz::require(request->headers.count("Transfer-Encoding") == 0, "no request has a transfer encoding");
            fuzz::require(request->headers.count("Content-Length") <= 1, "a body has at most one length");
            for (const auto& [name, value] : request->headers.fields())
                fuzz::require(
                    !value.contains('\r') && !value.contains('\n') && !value.contains('\0'), "a header is one line");
        }
        break;
    }
    case 1:
        if (const auto target = server::parseTarget(text)) {
            for (const auto& segment : target->segments) {
                fuzz::require(!segment.empty() && segment != "." && segment != "..", "no segment leaves a folder");
                fuzz::require(
                    segment.find_first_of(std::string_view("/\\\0\n\r", 5)) == std::string::npos, "a segment is one name");
            }
            server::matchRoute("api/videos/{}/revisions", target->segments);
            target->parameter("code");
        }
        break;
    default:
        try {
            const server::AuthorisedDomains domains({std::string(text)});
            const std::string directive = domains.frameAncestors();
            fuzz::require(directive.starts_with("frame-ancestors http"), "an accepted entry is an origin");
            const auto isPlain = [](char c) {
                return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || std::string_view("-.:/* ").contains(c);
            };
            fuzz::require(std::ranges::all_of(directive, isPlain), "an entry cannot end its directive");
            for (const auto& entry : domains.entries())
                fuzz::require(entry.isWildcard || domains.allows(entry.origin), "an origin matches itself");
        } catch (const Error&) {
            // An invalid domain.
        }
    }
    return 0;
}
