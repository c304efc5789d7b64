// Converts a speech model in two parts to one for ggml: orvo-model ORIGIN DESTINATION

#include "SpeechModel.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "Vocabulary.h"
#include "WeightFile.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

namespace {

constexpr std::size_t maxFileBytes = std::size_t{1} << 30;

std::string content(const std::filesystem::path& file)
{
    std::string result;
    orvo::readFile(file, result, maxFileBytes);
    return result;
}

void convert(const std::filesystem::path& origin, const std::filesystem::path& destination)
{
    using namespace orvo::model;
    const auto vocabulary = readVocabulary(content(origin / "vocabulary.txt"));
    const WeightFile weights(content(origin / "model.bin.part1") + content(origin / "model.bin.part2"));
    orvo::writeFileAtomically(destination, speechModel(weights, vocabulary));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "Uso: orvo-model ORIGEN DESTINO\n";
        return 2;
    }
    try {
        convert(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::cerr << "orvo-model: " << orvo::describe(error) << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
