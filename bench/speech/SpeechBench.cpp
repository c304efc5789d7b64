/// What the speech bench runs and measures from outside:
///
///     bench_speech words MODEL LANGUAGE quick|careful WAVE      our recognition; prints a JSON list of words
///     bench_speech whole MODEL LANGUAGE quick|careful WAVE      the library as its own command line calls it: the whole
///                                                               sound at once, the same threads; careful is five beams
///     bench_speech memory MODEL LANGUAGE quick|careful WAVE     the same as `words`; prints in MB how much more memory
///                                                               the program had at its most than before

#include "OrvoVideo/transcription/SpeechRecognizer.h"
#include "OrvoVideo/transcription/WaveReader.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
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

void printWords(const std::string& model, const std::string& language, std::string_view decoding, const std::string& wave)
{
    SpeechRecognizer recognizer(model, language, decodingOf(decoding));
    const char* separator = "[";
    for (const auto& word : recognizer.recognise(wave)) {
        std::printf("%s{\"text\": %s, \"start\": %.3f, \"end\": %.3f}", separator, jsonText(word.text).c_str(), word.start,
            word.end);
        separator = ",\n";
    }
    std::puts(*separator == '[' ? "[]" : "]");
}

/// A line of /proc/self/status, in MB.
double statusOf(std::string_view name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name))
            return std::stod(line.substr(name.size() + 1)) * 1024 / 1e6;
    }
    throw std::runtime_error("the system does not tell how much memory is used");
}

void printMemory(const std::string& model, const std::string& language, std::string_view decoding, const std::string& wave)
{
    const double before = statusOf("VmRSS");
    SpeechRecognizer recognizer(model, language, decodingOf(decoding));
    recognizer.recognise(wave);
    std::printf("%.1f\n", statusOf("VmHWM") - before);
}

void printWhole(const std::string& model, const std::string& language, std::string_view decoding, const std::string& wave)
{
    speech::WaveReader reader(wave);
    std::vector<float> samples(reader.size());
    reader.read(0, samples);
    whisper_log_set([](ggml_log_level, const char*, void*) { }, nullptr);
    auto contextParameters = whisper_context_default_params();
    contextParameters.use_gpu = false;
    whisper_context* context = whisper_init_from_file_with_params(model.c_str(), contextParameters);
    auto parameters =
        whisper_full_default_params(decoding == "careful" ? WHISPER_SAMPLING_BEAM_SEARCH : WHISPER_SAMPLING_GREEDY);
    parameters.n_threads = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 8U));
    parameters.language = language.c_str();
    parameters.print_progress = false;
    parameters.greedy.best_of = 1;
    parameters.beam_search.beam_size = 5;
    if (whisper_full(context, parameters, samples.data(), static_cast<int>(samples.size())) != 0)
        throw std::runtime_error("whisper_full failed");
    std::string text;
    for (int i = 0; i < whisper_full_n_segments(context); ++i)
        text += whisper_full_get_segment_text(context, i);
    std::printf("[{\"text\": %s, \"start\": 0, \"end\": 0}]\n", jsonText(text).c_str());
    whisper_free(context);
}

} // namespace

int main(int count, char** arguments)
{
    const std::vector<std::string> words(arguments + 1, arguments + count);
    try {
        if (words.size() == 5 && words[0] == "words")
            printWords(words[1], words[2], words[3], words[4]);
        else if (words.size() == 5 && words[0] == "memory")
            printMemory(words[1], words[2], words[3], words[4]);
        else if (words.size() == 5 && words[0] == "whole")
            printWhole(words[1], words[2], words[3], words[4]);
        else
            return 2;
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_speech: %s\n", error.what());
        return 1;
    }
}
