// Runs a recognition that the speech bench measures from outside:
//
//   bench_speech words MODEL LANGUAGE quick|careful WAVE RESULT    our recognition
//   bench_speech whole MODEL LANGUAGE quick|careful WAVE RESULT    the library on the whole audio at once, like its own
//                                                                  command line, with the same threads: quick is greedy
//                                                                  with the prompt in ORVO_BENCH_PROMPT, careful uses
//                                                                  five beams
//
// Writes the words and the additional peak memory in MB to RESULT, as JSON.

#include "OrvoVideo/transcription/SpeechRecognizer.h"
#include "OrvoVideo/transcription/WaveReader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <format>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>
#include <whisper.h>

namespace {

using namespace orvo;

std::string jsonText(std::string_view text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

SpeechRecognizer::Decoding decodingOf(std::string_view text)
{
    return text == "careful" ? SpeechRecognizer::Decoding::careful : SpeechRecognizer::Decoding::quick;
}

std::vector<TranscriptWord> recognise(
    const std::string& model, const std::string& language, std::string_view decoding, const std::string& wave)
{
    return SpeechRecognizer(model, language, decodingOf(decoding)).recognise(wave);
}

/// A line of /proc/self/status, in MB.
double statusOf(std::string_view name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name))
            return std::stod(line.substr(name.size() + 1)) * 1024 / 1e6;
    }
    throw std::runtime_error("the memory usage cannot be read");
}

/// The text of the whole audio as one word.
std::vector<TranscriptWord> recogniseWhole(
    const std::string& model, const std::string& language, std::string_view decoding, const std::string& wave)
{
    speech::WaveReader reader(wave);
    std::vector<float> samples(reader.size());
    reader.read(0, samples);
    whisper_log_set([](ggml_log_level, const char*, void*) { }, nullptr);
    auto contextParameters = whisper_context_default_params();
    contextParameters.use_gpu = false;
    const std::unique_ptr<whisper_context, decltype(&whisper_free)> context(
        whisper_init_from_file_with_params(model.c_str(), contextParameters), whisper_free);
    const bool careful = decoding == "careful";
    auto parameters = whisper_full_default_params(careful ? WHISPER_SAMPLING_BEAM_SEARCH : WHISPER_SAMPLING_GREEDY);
    parameters.n_threads = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 8U));
    parameters.language = language.c_str();
    parameters.print_progress = false;
    parameters.greedy.best_of = 1;
    parameters.beam_search.beam_size = 5;
    if (!careful)
        parameters.initial_prompt = std::getenv("ORVO_BENCH_PROMPT");
    if (whisper_full(context.get(), parameters, samples.data(), static_cast<int>(samples.size())) != 0)
        throw std::runtime_error("whisper_full failed");
    std::string text;
    for (int i = 0; i < whisper_full_n_segments(context.get()); ++i)
        text += whisper_full_get_segment_text(context.get(), i);
    return {{.text = text}};
}

void write(const std::string& file, const std::vector<TranscriptWord>& words, double memory)
{
    std::ofstream out(file);
    out << std::format("{{\"memory\": {:.1f}, \"words\": [", memory);
    const char* separator = "";
    for (const auto& word : words) {
        out << std::format(
            "{}{{\"text\": {}, \"start\": {:.3f}, \"end\": {:.3f}}}", separator, jsonText(word.text), word.start, word.end);
        separator = ",\n";
    }
    out << "]}\n";
    out.close();
    if (!out)
        throw std::runtime_error("the result cannot be written");
}

} // namespace

int main(int count, char** arguments)
{
    const std::vector<std::string> words(arguments + 1, arguments + count);
    if (words.size() != 6 || (words[0] != "words" && words[0] != "whole"))
        return 2;
    try {
        const double before = statusOf("VmRSS");
        const auto heard = (words[0] == "words" ? recognise : recogniseWhole)(words[1], words[2], words[3], words[4]);
        write(words[5], heard, statusOf("VmHWM") - before);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_speech: %s\n", error.what());
        return 1;
    }
}
