#pragma once

#include "OrvoVideo/publishing/Publisher.h"
#include "TestSupport/Failure.h"
#include "TestSupport/ProjectFixture.h"
#include "TestSupport/PublishingServer.h"
#include "VideoCore/FileIO.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <vector>

namespace orvo::test {

/// A project with a document, a streaming package and no media, and a publishing server. Pauses are recorded instead of
/// waited for.
class PublisherFixture : public ProjectFixture {
protected:
    PublisherFixture()
        : hls(folder / "hls")
        , session(store.directory(project.id) / Publisher::sessionName)
    {
        options.limits.silence = std::chrono::seconds(20);
        options.pause = [this](std::chrono::seconds time, const std::stop_token&) { pauses.push_back(time.count()); };
        std::filesystem::create_directories(hls / "480");
        write(hls / "master.m3u8", 200);
        write(hls / "480/00000.ts", 5'000);
    }

    Publisher publisher() const { return {server.address(), PublishingServer::token, options}; }

    Publication publish(const std::stop_token& stop = {})
    {
        return publisher().publish(
            project, store, hls, {"https://www.ejemplo.es"}, true,
            [this](const std::string& text, double fraction) { noteProgress(text, fraction); }, stop);
    }

    /// Publishes and returns the text of the failure; empty on success.
    std::string failure()
    {
        try {
            return failureOf([this] { publish(); });
        } catch (const Cancelled&) {
            return "cancelled";
        }
    }

    std::filesystem::path media(const std::string& name) const { return store.directory(project.id) / "media" / name; }

    /// Writes a file of `size` bytes with new content, which the server does not have yet.
    static std::string write(const std::filesystem::path& file, std::size_t size)
    {
        std::filesystem::create_directories(file.parent_path());
        static unsigned files = 0;
        std::mt19937 random(++files);
        std::string content(size, '\0');
        for (auto& byte : content)
            byte = static_cast<char>(random());
        std::ofstream(file, std::ios::binary) << content;
        return content;
    }

    /// The Content-Range of every chunk sent.
    std::vector<std::string> ranges() const
    {
        std::vector<std::string> result;
        for (const auto& request : server.requests()) {
            if (request.event == "asked" && request.method == "PUT")
                result.push_back(request.range);
        }
        return result;
    }

    /// Checks that the server has the same files as the disk and that it refused no request.
    void expectReceived(const std::vector<std::string>& paths)
    {
        for (const auto& path : paths) {
            const auto file = path.starts_with("hls/") ? hls / path.substr(4) : store.directory(project.id) / path;
            EXPECT_EQ(server.received(path), readFile(file)) << path;
        }
        for (const auto& request : server.requests())
            EXPECT_NE(request.event, "refused") << request.path << " " << request.range;
    }

    PublishingServer server;
    std::filesystem::path hls;
    std::filesystem::path session;
    Publisher::Options options;
    std::vector<std::int64_t> pauses; ///< Seconds.
    std::vector<std::pair<std::string, double>> progress;
    std::function<void(const std::string&)> onProgress;

private:
    void noteProgress(const std::string& text, double fraction)
    {
        EXPECT_GE(fraction, 0);
        EXPECT_LE(fraction, 1);
        progress.emplace_back(text, fraction);
        if (const auto call = onProgress)
            call(text);
    }
};

} // namespace orvo::test
