// Lists a library of 1,000 projects, with its files in the page cache.

#include "VideoCore/FileIO.h"
#include "VideoCore/ProjectStore.h"
#include "core/SampleProject.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <yyjson.h>

namespace orvo::bench {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t projectCount = 1'000;

/// A library in a temporary folder, removed when the program ends.
class SampleLibrary {
public:
    SampleLibrary()
        : m_root(makeFolder())
        , m_store(m_root)
    {
        auto project = sampleProject(fiveMinutes);
        for (std::size_t i = 0; i < projectCount; ++i) {
            project.id = Uuid::random();
            project.createdAt += std::chrono::minutes(7);
            m_store.create(project);
        }
        if (m_store.list().size() != projectCount)
            throw std::logic_error("the library does not list its projects");
    }
    SampleLibrary(const SampleLibrary&) = delete;
    SampleLibrary& operator=(const SampleLibrary&) = delete;
    ~SampleLibrary()
    {
        std::error_code ignored;
        fs::remove_all(m_root, ignored);
    }

    const ProjectStore& store() const { return m_store; }

private:
    static fs::path makeFolder()
    {
        auto pattern = (fs::temp_directory_path() / "orvo-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw fs::filesystem_error("mkdtemp", pattern, std::error_code(errno, std::generic_category()));
        return pattern;
    }

    fs::path m_root;
    ProjectStore m_store;
};

const ProjectStore& store()
{
    static const SampleLibrary library;
    return library.store();
}

void list(benchmark::State& state)
{
    const auto& library = store();
    for (auto _ : state)
        benchmark::DoNotOptimize(library.list());
}

/// Reads the same files with yyjson one after the other, without interpreting them.
void listUntyped(benchmark::State& state)
{
    const auto& library = store();
    for (auto _ : state) {
        std::string text;
        for (const auto& entry : fs::directory_iterator(library.root())) {
            readFile(entry.path() / ProjectStore::documentName, text);
            yyjson_doc* document = yyjson_read(text.data(), text.size(), YYJSON_READ_NOFLAG);
            benchmark::DoNotOptimize(document);
            yyjson_doc_free(document);
        }
    }
}

BENCHMARK(list)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(listUntyped)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();

} // namespace

} // namespace orvo::bench
