// Measures the timeline with a long transcript and many cuts.

#include "VideoCore/Timeline.h"
#include "core/SampleProject.h"

#include <benchmark/benchmark.h>

namespace orvo::bench {

namespace {

const VideoProject& manyCuts()
{
    static const auto project = sampleProject({.seconds = 3600, .words = 9'000, .cuts = 2'000});
    return project;
}

void merged(benchmark::State& state)
{
    const auto& project = manyCuts();
    for (auto _ : state)
        benchmark::DoNotOptimize(Timeline::merged(project.edit.cuts, project.duration));
}

void kept(benchmark::State& state)
{
    const auto& project = manyCuts();
    for (auto _ : state)
        benchmark::DoNotOptimize(Timeline::kept(project.duration, project.edit.cuts));
}

/// Converts one time, merging all cuts first.
void outputTime(benchmark::State& state)
{
    const auto& project = manyCuts();
    std::size_t word = 0;
    for (auto _ : state) {
        const double time = project.edit.words[word++ % project.edit.words.size()].start;
        benchmark::DoNotOptimize(Timeline::outputTime(time, project.edit.cuts, project.duration));
    }
}

/// Converts the start of every word, merging the cuts once.
void outputTimeOfAllWords(benchmark::State& state)
{
    const auto& project = manyCuts();
    for (auto _ : state) {
        const Timeline::OutputMap map(project.duration, project.edit.cuts);
        for (const auto& word : project.edit.words)
            benchmark::DoNotOptimize(map.outputTime(word.start));
    }
}

void subtitles(benchmark::State& state, const SampleSize& size)
{
    const auto project = sampleProject(size);
    for (auto _ : state)
        benchmark::DoNotOptimize(Timeline::subtitles(project, Timeline::SubtitleFormat::subRip));
}

BENCHMARK(merged)->Unit(benchmark::kMicrosecond);
BENCHMARK(kept)->Unit(benchmark::kMicrosecond);
BENCHMARK(outputTime)->Unit(benchmark::kMicrosecond);
BENCHMARK(outputTimeOfAllWords)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(subtitles, oneHour, oneHour)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(subtitles, manyCuts, SampleSize{.seconds = 3600, .words = 9'000, .cuts = 2'000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(subtitles, twiceAsMany, SampleSize{.seconds = 7200, .words = 18'000, .cuts = 4'000})
    ->Unit(benchmark::kMillisecond);

} // namespace

} // namespace orvo::bench
