#include "OrvoVideo/transcription/SpeechSpeed.h"

#include "OrvoVideo/transcription/SpeechActivity.h"
#include "OrvoVideo/transcription/SpeechRecognizer.h"
#include "OrvoVideo/transcription/WaveReader.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/ProcessRunner.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <format>
#include <fstream>
#include <map>
#include <ranges>
#include <string>
#include <thread>
#include <unistd.h>

namespace orvo::SpeechSpeed {

namespace fs = std::filesystem;

namespace {

/// Estimated rate of "base" on one processor. More than eight processors are not used.
constexpr double usualRate = 0.5;
constexpr unsigned maxProcessors = 8;

fs::path file()
{
    return SpeechModels::folder() / "velocidad.txt";
}

unsigned processors()
{
    return std::clamp(std::thread::hardware_concurrency(), 1U, maxProcessors);
}

/// Each line has the name of a measured model, the number of processors, and its rate. Ignores another machine's lines.
std::map<std::string, double> measured()
{
    std::map<std::string, double> rates;
    std::ifstream lines(file());
    std::string name;
    unsigned count = 0;
    double value = 0;
    while (lines >> name >> count >> value) {
        if (count == processors() && value > 0)
            rates[name] = value;
    }
    return rates;
}

} // namespace

Rate rate(const SpeechModel& model)
{
    const auto rates = measured();
    if (const auto own = rates.find(model.name); own != rates.end())
        return {.value = own->second, .isMeasured = true};
    double one = usualRate / processors(); // The rate of "base".
    for (const auto& other : SpeechModels::catalogue()) {
        if (const auto found = rates.find(other.name); found != rates.end())
            one = found->second / other.work;
    }
    return {.value = one * model.work};
}

double measure(const SpeechModel& model, const std::stop_token& stop)
{
    const fs::path sample = ProcessRunner::bundlePath() / "Contents/Resources/sample.wav";
    const double seconds = static_cast<double>(speech::WaveReader(sample).size()) / speech::sampleRate;
    SpeechRecognizer recognizer(SpeechModels::require(model.name, {}, stop), "es", SpeechRecognizer::Decoding::quick);
    const auto begin = std::chrono::steady_clock::now();
    recognizer.recognise(sample, {}, stop);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;

    auto rates = measured();
    rates[model.name] = taken.count() / seconds;
    std::string text;
    for (const auto& [name, value] : rates)
        text += std::format("{} {} {:.4f}\n", name, processors(), value);
    fs::create_directories(file().parent_path());
    writeFileAtomically(file(), text);
    return rates[model.name];
}

bool fits(const SpeechModel& model)
{
    constexpr double growth = 1.5; // Memory that the library needs, relative to the file of the model.
    const double memory = static_cast<double>(::sysconf(_SC_PHYS_PAGES)) * static_cast<double>(::sysconf(_SC_PAGESIZE));
    return 2 * growth * static_cast<double>(model.size) <= memory;
}

const SpeechModel& best()
{
    const auto models = SpeechModels::catalogue();
    for (const auto& model : models | std::views::reverse) {
        if (rate(model).value <= maxRate && fits(model))
            return model;
    }
    return models.front();
}

} // namespace orvo::SpeechSpeed
