#pragma once

#include "OrvoServer/base/Crypto.h"
#include "OrvoServer/base/Json.h"
#include "TestSupport/Waiting.h"
#include "Wire.h"

#include <gtest/gtest.h>

#include <format>
#include <map>
#include <string>

namespace orvo::test {

/// The requests of the application and of viewers to a server on loopback.
class PublishingClient {
public:
    static constexpr std::string_view video = "0d8c5b6e-7f00-4a52-9d5e-1f2a3b4c5d6e";
    using Files = std::map<std::string, std::string>;

    virtual ~PublishingClient() = default;

    virtual std::uint16_t port() const = 0;

    HeaderList authorised(HeaderList headers = {}) const
    {
        headers.emplace_back("Authorization", "Bearer " + credential);
        return headers;
    }
    virtual Reply api(
        std::string_view method, const std::string& path, std::string_view body = {}, HeaderList headers = {}) const
    {
        return ask(port(), method, "/api/" + path, authorised(std::move(headers)), body);
    }

    static std::string digest(std::string_view content) { return server::hexText(server::sha256(content)); }

    static std::string announcement(std::string_view title, std::string_view domains, bool publicLink)
    {
        return std::format(R"({{"id":"{}","title":{},"domains":{},"publicLink":{}}})", video,
            server::JsonWriter().value(title).take(), domains, publicLink);
    }

    static Files lesson(std::string_view mark = "")
    {
        const std::string marked(mark);
        return {{"media/screen.mov", "the original"}, {"project.json", "{}" + marked},
            {"hls/master.m3u8", "#EXTM3U\n480/index.m3u8\n"},
            {"hls/480/index.m3u8", "#EXTM3U\n#EXTINF:6.0,\n00000.ts\n#EXTINF:1.5,\n00001.ts\n#EXT-X-ENDLIST\n"},
            {"hls/480/00000.ts", "first segment" + marked}, {"hls/480/00001.ts", "second segment" + marked},
            {"hls/key.bin", "0123456789abcdef"}, {"hls/captions.vtt", "WEBVTT\n\n"}, {"hls/poster.jpg", "a poster"}};
    }

    struct Revision {
        std::string id;
        std::map<std::string, std::string> uploads;
    };

    static std::string manifest(const Files& files)
    {
        server::JsonWriter json;
        json.open('{').key("files").open('[');
        for (const auto& [path, content] : files) {
            json.open('{')
                .member("path", path)
                .member("role",
                    path.starts_with("media/")     ? "source"
                        : path.starts_with("hls/") ? "stream"
                                                   : "project");
            json.member("size", std::uint64_t{content.size()}).member("sha256", digest(content)).close('}');
        }
        return json.close(']').close('}').take();
    }

    static Revision revisionIn(const Reply& reply)
    {
        const server::JsonDocument document(reply.body);
        Revision revision{.id = document.root()["id"].text().value_or("")};
        document.root()["uploads"].forEach(
            [&](server::JsonValue upload) { revision.uploads[*upload["path"].text()] = *upload["id"].text(); });
        return revision;
    }

    Revision registered(const Files& files) const
    {
        const auto reply = api("POST", std::format("videos/{}/revisions", video), manifest(files));
        EXPECT_EQ(reply.status, 201U) << reply.body;
        return revisionIn(reply);
    }

    Reply put(const std::string& upload, std::string_view bytes, std::size_t first, std::size_t size) const
    {
        return api("PUT", "uploads/" + upload, bytes,
            {{"Content-Range", std::format("bytes {}-{}/{}", first, first + bytes.size() - 1, size)}});
    }

    std::uint64_t offset(const std::string& upload) const
    {
        return server::JsonDocument(api("GET", "uploads/" + upload).body).root()["offset"].number().value_or(~0ULL);
    }

    /// Waits until all files are stored or one has failed; returns its error, or empty.
    std::string stored(const std::string& revision) const
    {
        std::string error;
        const auto hasEnded = [&] { // The client polls, too.
            const auto reply = api("GET", "revisions/" + revision);
            const server::JsonDocument document(reply.body);
            bool isReady = true;
            document.root()["files"].forEach([&](server::JsonValue file) {
                isReady = isReady && file["status"].text() == "ready";
                if (file["status"].text() == "error")
                    error = file["error"].text().value_or("?");
            });
            if (reply.status != 200)
                error = reply.body;
            return reply.status != 200 || !error.empty() || isReady;
        };
        return pollUntil(hasEnded, std::chrono::minutes(5)) ? error : "the files are still being stored";
    }

    void upload(const Revision& revision, const Files& files) const
    {
        for (const auto& [path, content] : files) {
            if (offset(revision.uploads.at(path)) < content.size()) {
                EXPECT_EQ(put(revision.uploads.at(path), content, 0, content.size()).status, 200U) << path;
            }
        }
        EXPECT_EQ(api("POST", std::format("revisions/{}/retry", revision.id)).status, 204U);
        EXPECT_EQ(stored(revision.id), "");
    }

    /// Runs a complete publication; returns the revision.
    Revision publish(
        const Files& files, std::string_view domains, bool publicLink, std::string_view title = "Una lección") const
    {
        EXPECT_EQ(api("POST", "videos", announcement(title, domains, publicLink)).status, 200U);
        const auto revision = registered(files);
        upload(revision, files);
        const auto reply = api("POST", std::format("revisions/{}/publish", revision.id));
        EXPECT_EQ(reply.status, 200U) << reply.body;
        return revision;
    }

    /// The configuration in a player's page, as JSON; empty if the page has no player.
    static std::string playerConfig(const Reply& page)
    {
        constexpr std::string_view mark = "data-config=\"";
        const auto begin = page.body.find(mark);
        if (begin == std::string::npos)
            return {};
        std::string text =
            page.body.substr(begin + mark.size(), page.body.find('"', begin + mark.size()) - begin - mark.size());
        const std::map<std::string, std::string> entities{
            {"&quot;", "\""}, {"&lt;", "<"}, {"&gt;", ">"}, {"&#39;", "'"}, {"&amp;", "&"}};
        for (const auto& [entity, character] : entities) {
            for (auto at = text.find(entity); at != std::string::npos; at = text.find(entity, at + 1))
                text.replace(at, entity.size(), character);
        }
        return text;
    }

    Reply page(std::string_view kind, const HeaderList& headers = {}) const
    {
        return ask(port(), "GET", std::format("/{}/{}", kind, video), headers);
    }

    /// The media path of a new viewer.
    std::string media(std::string_view kind = "embed", std::string_view destination = "iframe") const
    {
        const std::string config = playerConfig(page(kind, {{"Sec-Fetch-Dest", std::string(destination)}}));
        return server::JsonDocument(config).root()["media"].text().value_or("");
    }

    std::string credential;
};

} // namespace orvo::test
