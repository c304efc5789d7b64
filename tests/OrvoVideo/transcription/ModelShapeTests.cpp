#include "OrvoVideo/transcription/SpeechModels.h"
#include "OrvoVideo/transcription/SpeechSpeed.h"
#include "OrvoVideo/transcription/Whisper.h"
#include "RandomModel.h"
#include "TestSupport/TemporaryFolder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <thread>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

/// Files with the layers, heads, bands and vocabulary of every model, but narrower and with random weights. An alignment
/// head that a model does not have would prevent loading.
TEST(ModelShapes, LoadsAndAlignsEveryModelOfTheCatalogue)
{
    struct Case {
        const char* model;
        ModelShape shape;
    };
    const Case cases[]{
        {"tiny", {.state = 192, .heads = 6, .audioLayers = 4, .textLayers = 4}},
        {"base", {.state = 192, .heads = 8, .audioLayers = 6, .textLayers = 6}},
        {"small", {.state = 192, .heads = 12, .audioLayers = 12, .textLayers = 12}},
        {"medium", {.state = 128, .heads = 16, .audioLayers = 24, .textLayers = 24}},
        {"turbo", {.vocabulary = 51'866, .state = 160, .heads = 20, .audioLayers = 32, .textLayers = 4, .bands = 128}},
    };
    EXPECT_EQ(std::size(cases), SpeechModels::catalogue().size());
    const TemporaryFolder folder;
    constexpr int rate = 16'000;
    std::vector<float> audio(std::size_t{1} * rate);
    for (std::size_t i = 0; i < audio.size(); ++i)
        audio[i] = 0.3F * std::sin(static_cast<float>(i) * 0.08F);
    for (const auto& [model, shape] : cases) {
        SCOPED_TRACE(model);
        const auto file = folder / "random.bin";
        writeRandomModel(file, shape);
        speech::Whisper whisper(file);
        const auto answer = whisper.recognise(audio, {.language = "es", .prompt = "Hola."}, {});
        for (const auto& word : answer.words) {
            EXPECT_GE(word.end, 0);
            EXPECT_LE(word.end, 30);
        }
    }
}

/// Uses a private folder for the models.
class SpeechSpeeds : public testing::Test {
protected:
    SpeechSpeeds() { ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1); }
    ~SpeechSpeeds() override { ::unsetenv("XDG_DATA_HOME"); }

    TemporaryFolder folder;
};

TEST_F(SpeechSpeeds, DerivesRatesFromOneMeasurementAndProposesAModel)
{
    const auto& base = *SpeechModels::inCatalogue("base");
    const auto& small = *SpeechModels::inCatalogue("small");
    EXPECT_FALSE(SpeechSpeed::rate(base).isMeasured);
    EXPECT_GT(SpeechSpeed::rate(small).value, SpeechSpeed::rate(base).value);

    const double measured = SpeechSpeed::measure(base);
    EXPECT_GT(measured, 0);
    EXPECT_TRUE(SpeechSpeed::rate(base).isMeasured);
    EXPECT_NEAR(SpeechSpeed::rate(base).value, measured, 1e-3);
    EXPECT_NEAR(SpeechSpeed::rate(small).value, measured * small.work, 1e-3 * small.work);

    const auto note = [&](double rate) {
        fs::create_directories(SpeechModels::folder());
        std::ofstream(SpeechModels::folder() / "velocidad.txt")
            << "base " << std::clamp(std::thread::hardware_concurrency(), 1U, 8U) << " " << rate << "\nsmall 999 0.001\n";
    };
    struct Case {
        double rateOfBase;
        const char* proposed;
    };
    for (const auto& [rate, proposed] : {Case{0.9, "tiny"}, Case{0.4, "base"}, Case{0.1, "small"}}) {
        note(rate);
        EXPECT_EQ(SpeechSpeed::best().name, proposed) << rate;
    }
    note(0.001);
    const auto& fastest = SpeechSpeed::best();
    EXPECT_TRUE(SpeechSpeed::fits(fastest)) << "memory decides among the fast ones";
    EXPECT_LE(SpeechSpeed::rate(fastest).value, SpeechSpeed::maxRate);
}

} // namespace

} // namespace orvo::test
