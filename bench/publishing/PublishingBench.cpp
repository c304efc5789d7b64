// Measures the steps of publishing:
//   bench_publishing package MOVIE WIDTH HEIGHT FPS FOLDER   makes a streaming package
//   bench_publishing hash LIBRARY                            lists and hashes the files of a library's only project
//   bench_publishing publish LIBRARY ADDRESS                 publishes it, with the credential in ORVO_ADMIN_TOKEN
// Each prints its result as JSON.

#include "OrvoVideo/publishing/PublicationFiles.h"
#include "OrvoVideo/publishing/Publisher.h"
#include "VideoCore/Error.h"
#include "VideoMedia/ExportService.h"

#include <chrono>
#include <cstdlib>
#include <format>
#include <iostream>

namespace orvo::bench {

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

VideoProject onlyProject(const ProjectStore& store)
{
    const auto projects = store.list();
    if (projects.size() != 1)
        throw captureError("the library must have one project");
    return projects.front();
}

void package(const std::vector<std::string>& words)
{
    auto project = VideoProject::make("bench");
    project.width = std::stoll(words.at(1));
    project.height = std::stoll(words.at(2));
    project.fps = std::stoll(words.at(3));
    const auto start = Clock::now();
    ExportService::hls(words.at(0), project, words.at(4));
    std::cout << std::format("{{\"seconds\": {}}}\n", secondsSince(start));
}

void hash(const std::vector<std::string>& words)
{
    const ProjectStore store(words.at(0));
    const auto project = onlyProject(store);
    const auto start = Clock::now();
    const auto files = publicationFiles(project, store, store.root() / "no-package", {});
    const double seconds = secondsSince(start);
    std::int64_t bytes = 0;
    for (const auto& file : files)
        bytes += file.size;
    std::cout << std::format("{{\"seconds\": {}, \"bytes\": {}}}\n", seconds, bytes);
}

void publish(const std::vector<std::string>& words)
{
    const ProjectStore store(words.at(0));
    const auto project = onlyProject(store);
    const char* token = std::getenv("ORVO_ADMIN_TOKEN");
    Publisher publisher(words.at(1), token ? token : "");
    // Measures the upload alone, from the end of the first chunk to the end of the last one.
    std::optional<Clock::time_point> first;
    double begun = 0;
    double seconds = 0;
    double ended = 0;
    publisher.publish(project, store, store.root() / "no-package", {}, false, [&](const std::string& text, double fraction) {
        if (!text.starts_with("Subiendo media/"))
            return;
        if (!first) {
            first = Clock::now();
            begun = fraction;
        }
        seconds = secondsSince(*first);
        ended = fraction;
    });
    std::cout << std::format("{{\"seconds\": {}, \"share\": {}}}\n", seconds, ended - begun);
}

} // namespace

} // namespace orvo::bench

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        const std::vector<std::string> rest(words.begin() + 1, words.end());
        if (words.at(0) == "package")
            orvo::bench::package(rest);
        else if (words.at(0) == "hash")
            orvo::bench::hash(rest);
        else
            orvo::bench::publish(rest);
    } catch (const std::exception& error) {
        std::cerr << orvo::describe(error) << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
