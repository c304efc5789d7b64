#include "CountedVideo.h"
#include "PlayerRig.h"
#include "TestSupport/Media.h"
#include "TestSupport/TemporaryFolder.h"

#include <array>
#include <cmath>
#include <gmock/gmock.h>
#include <random>

namespace orvo::test {

namespace fs = std::filesystem;

namespace {

/// One folder of media for all tests of this file; making it takes a second or two.
class PreviewFrames : public testing::Test {
protected:
    static void SetUpTestSuite() { folder = std::make_unique<TemporaryFolder>(); }
    static void TearDownTestSuite() { folder.reset(); }

    static fs::path video(const std::string& name, const CountedVideo& description)
    {
        const fs::path file = *folder / name;
        if (!fs::exists(file))
            description.write(file);
        return file;
    }

    /// 90 frames of 320×180 with B-frames and a key frame each second.
    static fs::path plain() { return video("plain.mov", {}); }

    static PreviewComposition composition(std::vector<PreviewComposition::VideoClip> clips)
    {
        return {.width = 320, .height = 180, .fps = 30, .video = std::move(clips)};
    }

    static inline std::unique_ptr<TemporaryFolder> folder;
};

/// Frames to seek to: the ends, steps of one frame both ways, and random ones.
std::vector<long> wanderingFrames(long count)
{
    std::vector<long> frames{0, count - 1, 0, count / 2};
    for (long i = 0; i < 8; ++i)
        frames.push_back(count / 2 - i);
    for (long i = 0; i < 8; ++i)
        frames.push_back(count / 2 + i);
    std::mt19937 random(7); // NOLINT: the same order each time
    std::uniform_int_distribution<long> any(0, count - 1);
    for (int i = 0; i < 12; ++i)
        frames.push_back(any(random));
    return frames;
}

TEST_F(PreviewFrames, ShowsTheExactFrameOfASeek)
{
    const fs::path plainVfr = video("vfr.mp4",
        {.filter = ",select='lt(n,30)*not(mod(n,3))+gte(n,30)*lt(n,40)+eq(n,75)+gte(n,80)'",
            .options = {"-fps_mode", "passthrough", "-enc_time_base", "1:30", "-video_track_timescale", "30000"}});
    const auto numberInVfr = [](long frame) -> long {
        if (frame < 30)
            return frame / 3 * 3;
        if (frame < 40)
            return frame;
        return frame < 75 ? 39 : frame < 80 ? 75 : frame;
    };
    const auto same = [](long frame) { return frame; };
    struct Case {
        std::string name;
        fs::path file;
        long frames;
        std::function<long(long)> number;
        int fps = 30;
    };
    const std::vector<Case> cases{
        {"B-frames", plain(), 90, same},
        {"one key frame", video("one-key.mp4", {.keyFrameEvery = 900}), 90, same},
        {"Matroska", video("plain.mkv", {}), 90, same},
        {"HEVC", video("hevc.mov", {.options = {"-c:v", "libx265", "-x265-params", "log-level=none", "-tag:v", "hvc1"}}), 90,
            same},
        {"VP9", video("vp9.webm", {.options = {"-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used", "8"}}), 90, same},
        {"variable rate", plainVfr, 90, numberInVfr},
        {"60 per second shown at 30", video("sixty.mov", {.fps = 60, .seconds = 2}), 60,
            [](long frame) { return 2 * frame; }},
        {"25 per second", video("pal.mov", {.fps = 25}), 75, same, 25},
        {"NTSC rate, shown at its own",
            video("ntsc.mov", {.filter = ",setpts=N*1001/30000/TB", .options = {"-r", "30000/1001"}}), 80,
            [](long frame) { return std::lround(std::floor((static_cast<double>(frame) + 0.4969) / 30 * 30000 / 1001)); }},
        {"minute in fragments",
            video("fragments.mp4",
                {.width = 160,
                    .height = 90,
                    .seconds = 60,
                    .keyFrameEvery = 60,
                    .options = {"-bf", "0", "-movflags", "+frag_keyframe+empty_moov"}}),
            1800, same},
    };
    for (const auto& [name, file, frames, number, fps] : cases) {
        SCOPED_TRACE(name);
        PlayerRig rig;
        auto composition = this->composition({{.file = file}});
        composition.fps = fps;
        ASSERT_TRUE(rig.load(composition));
        EXPECT_EQ(frameNumber(rig.player().frame()), 0);
        for (const long frame : wanderingFrames(frames)) {
            ASSERT_TRUE(rig.seek(static_cast<double>(frame) / fps));
            ASSERT_EQ(frameNumber(rig.player().frame()), number(frame)) << "frame " << frame;
        }
    }
}

TEST_F(PreviewFrames, ClampsTimesToFrames)
{
    PlayerRig rig;
    ASSERT_TRUE(rig.load(composition({{.file = plain()}})));
    const struct {
        double seconds;
        int number;
        double position;
    } cases[]{{0.0, 0, 0}, {0.0333, 1, 0.0333}, {0.0334, 1, 0.0334}, {0.05, 1, 0.05}, {0.065, 1, 0.065},
        {1.5166, 45, 1.5166}, {2.9667, 89, 2.9667}, {2.99, 89, 2.99}, {3.0, 89, 3.0}, {3.5, 89, 3.0}, {1e9, 89, 3.0},
        {-1.0, 0, 0}, {std::nan(""), 0, 0}};
    for (const auto& [seconds, number, position] : cases) {
        ASSERT_TRUE(rig.seek(seconds));
        EXPECT_EQ(frameNumber(rig.player().frame()), number) << seconds;
        EXPECT_NEAR(rig.player().position(), position, 0.04) << seconds;
    }
}

TEST_F(PreviewFrames, ShowsClipsAtTheirStartsAndBlackBetween)
{
    const fs::path shorter = video("short.mov", {.seconds = 1, .filter = ",lutyuv=u=90"});
    PlayerRig rig;
    // 0–1 black, 1–4 plain, at 2–3 covered by the later clip, 4–6 black, 6–7 the short one, and a short gap before 7.1.
    ASSERT_TRUE(rig.load(composition({{.file = plain(), .start = 1}, {.file = shorter, .start = 2},
        {.file = shorter, .start = 6}, {.file = shorter, .start = 7.1}})));
    const auto isBlack = [](const QImage& image) {
        return qGray(image.pixel(5, 5)) < 8 && qGray(image.pixel(160, 90)) < 8 && qGray(image.pixel(315, 175)) < 8;
    };
    const struct {
        long frame;
        std::optional<int> number;
    } cases[]{{0, {}}, {29, {}}, {30, 0}, {59, 29}, {60, 0}, {89, 29}, {90, 60}, {119, 89}, {120, {}}, {150, {}}, {179, {}},
        {180, 0}, {209, 29}, {211, 29}, {213, 0}, {242, 29}, {30, 0}, {119, 89}};
    for (const auto& [frame, number] : cases) {
        ASSERT_TRUE(rig.seek(static_cast<double>(frame) / 30));
        const QImage image = rig.player().frame();
        EXPECT_EQ(frameNumber(image), number) << frame;
        EXPECT_EQ(isBlack(image), !number) << frame;
    }
}

TEST_F(PreviewFrames, FitsFramesUprightAndCentred)
{
    // Phones store rotated frames and mark the rotation.
    const auto phone = [](const std::string& name, const std::string& stored, const std::string& marked) {
        const fs::path lying = video("lying-" + name, {.width = 180, .height = 320, .filter = stored});
        const fs::path file = *folder / name;
        ffmpeg({"-display_rotation", marked, "-i", lying.string(), "-c", "copy", file.string()});
        return file;
    };
    const struct {
        std::string name;
        fs::path file;
        QSize canvas;
        QRect place;
    } cases[]{
        {"the same size", plain(), {320, 180}, {0, 0, 320, 180}},
        {"wider canvas", plain(), {640, 180}, {160, 0, 320, 180}},
        {"taller canvas", plain(), {320, 480}, {0, 150, 320, 180}},
        {"scaled down", plain(), {160, 160}, {0, 35, 160, 90}},
        {"scaled up", plain(), {640, 400}, {0, 20, 640, 360}},
        {"odd frame and canvas",
            video("odd.mkv", {.width = 243, .height = 135, .filter = ",format=yuv444p", .options = {"-pix_fmt", "yuv444p"}}),
            {321, 201}, {0, 11, 321, 178}},
        {"stored 90°", phone("turned-90.mp4", ",transpose=2", "-90"), {320, 320}, {70, 0, 180, 320}},
        {"stored 180°", phone("turned-180.mp4", ",hflip,vflip", "180"), {180, 320}, {0, 0, 180, 320}},
        {"stored 270°", phone("turned-270.mp4", ",transpose=1", "90"), {320, 180}, {109, 0, 101, 180}},
    };
    for (const auto& [name, file, canvas, place] : cases) {
        SCOPED_TRACE(name);
        PlayerRig rig;
        auto composition = this->composition({{.file = file}});
        composition.width = canvas.width();
        composition.height = canvas.height();
        ASSERT_TRUE(rig.load(composition));
        ASSERT_TRUE(rig.seek(1.0));
        const QImage image = rig.player().frame();
        ASSERT_EQ(image.size(), canvas);
        EXPECT_EQ(frameNumber(image, place), 30);
        // Just outside the frame it is black, just inside it is not.
        const QPoint middle = place.center();
        const QPoint grey(middle.x(), place.bottom() - 3);
        EXPECT_NEAR(qGray(image.pixel(grey)), 130, 12);
        for (const auto& [inside, outside] :
            std::vector<std::pair<QPoint, QPoint>>{{{place.left() + 2, grey.y()}, {place.left() - 3, grey.y()}},
                {{place.right() - 2, grey.y()}, {place.right() + 3, grey.y()}},
                {{middle.x(), place.bottom() - 2}, {middle.x(), place.bottom() + 3}}}) {
            EXPECT_GT(qGray(image.pixel(inside)), 60);
            if (image.rect().contains(outside)) {
                EXPECT_LT(qGray(image.pixel(outside)), 40);
            }
        }
    }
}

TEST_F(PreviewFrames, OpensRotatedFramesOfAnyWidth)
{
    // With direct rendering, decoders occasionally abort the process for rotated frames whose width is not a whole number
    // of blocks.
    const fs::path stored = video("narrow.mp4", {.width = 180, .height = 320, .filter = ",hflip,vflip"});
    const fs::path file = *folder / "narrow-turned.mp4";
    ffmpeg({"-display_rotation", "180", "-i", stored.string(), "-c", "copy", file.string()});
    auto composition = this->composition({{.file = file}});
    composition.width = 180;
    composition.height = 320;
    for (int round = 0; round < 4; ++round) {
        std::array<PlayerRig, 8> rigs;
        for (PlayerRig& rig : rigs)
            rig.player().load(composition);
        for (PlayerRig& rig : rigs) {
            ASSERT_TRUE(rig.waitUntil([&] { return rig.loads == 1; }));
            ASSERT_EQ(frameNumber(rig.player().frame()), 0);
        }
    }
}

TEST_F(PreviewFrames, ScalesFramesToTheDisplaySize)
{
    PlayerRig rig;
    ASSERT_TRUE(rig.load(composition({{.file = plain()}})));
    ASSERT_TRUE(rig.seek(1.0));
    for (const auto& [shown, size] : std::vector<std::pair<QSize, QSize>>{
             {{160, 160}, {160, 90}}, {{1000, 1000}, {320, 180}}, {{200, 90}, {160, 90}}, {QSize(), {320, 180}}}) {
        rig.player().setDisplaySize(shown);
        ASSERT_TRUE(rig.waitUntil([&] { return rig.player().frame().size() == size; })) << size.width();
        EXPECT_EQ(frameNumber(rig.player().frame()), 30);
    }
}

TEST_F(PreviewFrames, ReportsOnlyTheLastOfOverlappingSeeks)
{
    PlayerRig rig;
    ASSERT_TRUE(rig.load(composition({{.file = plain()}})));
    for (int round = 0; round < 10; ++round) {
        rig.seeks.clear();
        const int last = (round * 37 + 11) % 90;
        for (int i = 0; i < 40; ++i) {
            rig.player().seek(((i * 53) % 90) / 30.0);
            EXPECT_DOUBLE_EQ(rig.player().position(), ((i * 53) % 90) / 30.0);
        }
        rig.player().seek(last / 30.0);
        ASSERT_TRUE(rig.waitUntil([&] { return !rig.seeks.empty(); }));
        EXPECT_THAT(rig.seeks, testing::ElementsAre(testing::DoubleNear(last / 30.0, 1e-9)));
        EXPECT_EQ(frameNumber(rig.player().frame()), last);
        EXPECT_NEAR(rig.player().position(), last / 30.0, 1e-9);
    }
}

} // namespace

} // namespace orvo::test
