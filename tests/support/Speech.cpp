#include "TestSupport/Speech.h"

#include "TestSupport/Media.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoMedia/ProcessRunner.h"

#include <algorithm>
#include <cmath>
#include <format>
#include <ranges>

namespace orvo::test {

namespace fs = std::filesystem;

std::vector<Said> makeSpeech(
    const fs::path& file, std::vector<Said> texts, double length, const std::vector<std::string>& arguments)
{
    constexpr float audible = 0.008F;
    constexpr double rate = 48'000; // The sample rate of `decodeAudio`.
    const TemporaryFolder folder;
    std::vector<std::string> all;
    std::string graph;
    std::string labels;
    for (auto&& [number, said] : texts | std::views::enumerate) {
        const fs::path voice = folder / std::format("{}.wav", number);
        ProcessRunner::run("/usr/bin/espeak-ng", {"-v", "es", "-s", "140", "-w", voice.string(), said.text});
        const auto samples = decodeAudio(voice);
        const auto loud = [](float sample) { return std::abs(sample) > audible; };
        const double first = static_cast<double>(std::ranges::find_if(samples, loud) - samples.begin()) / rate;
        const double last =
            static_cast<double>(std::find_if(samples.rbegin(), samples.rend(), loud).base() - samples.begin()) / rate;
        said.end = said.start + last - first;
        all.insert(all.end(), {"-i", voice.string()});
        graph += std::format("[{0}]atrim={1:.6f}:{2:.6f},asetpts=PTS-STARTPTS,adelay={3}:all=1[v{0}];", number, first, last,
            std::llround(said.start * 1000));
        labels += std::format("[v{}]", number);
    }
    all.insert(all.end(),
        {"-filter_complex", std::format("{}{}amix={}:normalize=0,apad=whole_dur={}", graph, labels, texts.size(), length)});
    all.insert(all.end(), arguments.begin(), arguments.end());
    all.push_back(file.string());
    ffmpeg(all);
    return texts;
}

} // namespace orvo::test
