// Reads and writes the document of a one-hour project, compared with yyjson without interpreting the values, and with a
// version on nlohmann/json.

#include "VideoCore/DocumentCodec.h"
#include "core/NlohmannDocument.h"
#include "core/SampleProject.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <yyjson.h>

namespace orvo::bench {

namespace {

using JsonDocument = std::unique_ptr<yyjson_doc, decltype(&yyjson_doc_free)>;

JsonDocument readUntyped(const std::string& text)
{
    return {yyjson_read(text.data(), text.size(), YYJSON_READ_NOFLAG), &yyjson_doc_free};
}

const VideoProject& project()
{
    static const VideoProject value = [] {
        auto sample = sampleProject(oneHour);
        sample.createdAt = sample.updatedAt = parseIso8601("2025-03-14T09:26:53Z").value();
        return sample;
    }();
    return value;
}

/// The document's text. Checks first that all three versions agree on it.
const std::string& text()
{
    static const std::string value = [] {
        const auto encoded = encodeDocument(project());
        if (decodeDocument(encoded) != project() || decodeWithNlohmann(encoded) != project()
            || decodeDocument(encodeWithNlohmann(project())) != project() || !readUntyped(encoded))
            throw std::logic_error("the measured versions disagree about the document");
        return encoded;
    }();
    return value;
}

void report(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text().size()));
}

void decode(benchmark::State& state)
{
    const auto& document = text();
    for (auto _ : state)
        benchmark::DoNotOptimize(decodeDocument(document));
    report(state);
}

void decodeUntyped(benchmark::State& state)
{
    const auto& document = text();
    for (auto _ : state)
        benchmark::DoNotOptimize(readUntyped(document));
    report(state);
}

void decodeNlohmann(benchmark::State& state)
{
    const auto& document = text();
    for (auto _ : state)
        benchmark::DoNotOptimize(decodeWithNlohmann(document));
    report(state);
}

void encode(benchmark::State& state)
{
    const auto& value = project();
    for (auto _ : state)
        benchmark::DoNotOptimize(encodeDocument(value));
    report(state);
}

void encodeUntyped(benchmark::State& state)
{
    const auto document = readUntyped(text());
    for (auto _ : state) {
        std::size_t size = 0;
        const std::unique_ptr<char, decltype(&std::free)> out(
            yyjson_write(document.get(), YYJSON_WRITE_PRETTY_TWO_SPACES, &size), &std::free);
        benchmark::DoNotOptimize(out.get());
    }
    report(state);
}

void encodeNlohmann(benchmark::State& state)
{
    const auto& value = project();
    for (auto _ : state)
        benchmark::DoNotOptimize(encodeWithNlohmann(value));
    report(state);
}

BENCHMARK(decode)->Unit(benchmark::kMillisecond);
BENCHMARK(decodeUntyped)->Unit(benchmark::kMillisecond);
BENCHMARK(decodeNlohmann)->Unit(benchmark::kMillisecond);
BENCHMARK(encode)->Unit(benchmark::kMillisecond);
BENCHMARK(encodeUntyped)->Unit(benchmark::kMillisecond);
BENCHMARK(encodeNlohmann)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace orvo::bench
