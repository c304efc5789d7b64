#include "EditorGeometry/PreviewGeometry.h"
#include "EditorGeometry/ProseFlow.h"
#include "EditorGeometry/Snapping.h"
#include "EditorGeometry/TimelineScale.h"
#include "EditorGeometry/TimelineTargets.h"
#include "EditorGeometry/WaveformPeaks.h"
#include "TestSupport/Projects.h"

#include <cmath>
#include <gmock/gmock.h>
#include <random>

namespace orvo::test {

namespace {

using testing::DoubleNear;
using testing::Optional;

PointerEvent zoom(double time, double duration, double scale, double x = 0.5, double y = 0.5)
{
    auto event = pointer(PointerKind::zoom, time, x, y);
    event.duration = duration;
    event.scale = scale;
    return event;
}

TEST(TimelineScale, StaysWithinTheRecordingForAnyRequest)
{
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> real(-3000, 3000);
    TimelineScale scale(800, 3600);
    for (int i = 0; i < 5000; ++i) {
        switch (random() % 6) {
        case 0:
            scale.zoomBy(std::exp(real(random) / 1000), real(random));
            break;
        case 1:
            scale.scrollBy(real(random));
            break;
        case 2:
            scale.setOffset(real(random));
            break;
        case 3:
            scale.reveal(std::abs(real(random)), 40);
            break;
        case 4:
            scale.resize(std::abs(real(random)));
            break;
        default:
            scale.setDuration(std::abs(real(random)));
            break;
        }
        const auto shown = scale.visible();
        ASSERT_GE(shown.start, 0);
        ASSERT_LE(shown.end, scale.duration() + 1e-9);
        const double fitting = scale.width() / std::max(scale.duration(), 0.1);
        ASSERT_LE(scale.pixelsPerSecond(), std::max(TimelineScale::maxPixelsPerSecond, fitting));
        const double t = shown.start + shown.duration() / 3;
        ASSERT_NEAR(scale.time(scale.x(t)), t, 1e-6);
    }
    scale.fit();
    scale.setDuration(20);
    EXPECT_TRUE(scale.fits()) << "a recording that fits keeps fitting";
}

TEST(TimelineScale, RevealsWithTheSmallestScrollAndTurnsPages)
{
    TimelineScale scale(100, 100);
    scale.zoomBy(10, 0); // Shows 10 s.
    scale.reveal(5, 20);
    EXPECT_EQ(scale.offset(), 0) << "already visible";
    scale.reveal(12, 20);
    EXPECT_DOUBLE_EQ(scale.offset(), 4) << "2 s from the right edge";
    scale.turnPageTo(13);
    EXPECT_DOUBLE_EQ(scale.offset(), 4);
    scale.turnPageTo(15);
    EXPECT_DOUBLE_EQ(scale.offset(), 15);
}

TEST(Snapping, SnapsToTheNearestEdge)
{
    auto project = emptyProject(100);
    project.edit.cuts = {{10, 12}, {40, 44}};
    project.edit.events = {zoom(20, 2.5, 2), pointer(PointerKind::click, 30)};
    project.edit.overlays.edit().emplace_back().end = 55.5;
    project.edit.words = {word("hola", 61.25, 61.5)};
    Snapping snapping;
    snapping.show(project);

    const auto nearest = [&](double time, double tolerance) {
        return snapping.nearest(time, tolerance, Snapping::Words::included, {}, {});
    };
    EXPECT_THAT(nearest(10.3, 0.5), Optional(10));
    EXPECT_THAT(nearest(11.4, 0.7), Optional(12));
    EXPECT_THAT(nearest(22.3, 0.5), Optional(22.5)) << "the end of the zoom point";
    EXPECT_THAT(nearest(55.2, 0.5), Optional(55.5)) << "the end of the overlay";
    EXPECT_THAT(nearest(99.9, 0.5), Optional(100)) << "the end of the recording";
    EXPECT_EQ(nearest(30, 0.5), std::nullopt) << "ignores clicks";
    EXPECT_EQ(nearest(25, 1), std::nullopt);

    EXPECT_THAT(nearest(61.3, 0.5), Optional(61.25));
    EXPECT_EQ(snapping.nearest(61.3, 0.5, Snapping::Words::ignored, {}, {}), std::nullopt);
    const double playhead = 61.7;
    EXPECT_THAT(snapping.nearest(61.45, 0.5, Snapping::Words::included, {&playhead, 1}, {}), Optional(playhead))
        << "prefers other edges to words";
    const double own = 10;
    EXPECT_EQ(snapping.nearest(10.3, 0.5, Snapping::Words::included, {}, {&own, 1}), std::nullopt);

    project.edit.cuts.edit().front().start = 9;
    project.edit.words = {};
    snapping.show(project);
    EXPECT_THAT(nearest(9.2, 0.5), Optional(9)) << "follows the edit";
    EXPECT_EQ(nearest(61.3, 0.5), std::nullopt);
}

TEST(TimelineTargets, FindsTheItemUnderThePointer)
{
    using Kind = TimelineTarget::Kind;
    using Part = TimelineTarget::Part;
    auto project = emptyProject(100);
    project.edit.cuts = {{10, 20}, {30, 30.2}};
    project.edit.events = {pointer(PointerKind::move, 50), zoom(50, 10, 2)};
    project.edit.overlays.edit().push_back({.start = 70, .end = 80});
    project.edit.overlays.edit().push_back({.start = 75, .end = 90});
    const TimelineScale scale(1000, 100); // 10 px/s.
    const TimeSpan selection{15, 40};
    constexpr double ruler = 5;
    const TimelineRows rows(project);
    const double zooms = rows.zoomsTop() + 5;
    const double overlays = rows.overlaysTop() + 5;
    const double cuts = rows.cutsTop() + 5;
    const double tracks = rows.tracksTop() + 5;

    struct Case {
        double x;
        double y;
        Kind kind;
        Part part;
        std::size_t index;
    };
    for (const auto& [x, y, kind, part, index] : {
             Case{500, ruler, Kind::ruler, Part::body, 0},
             {550, zooms, Kind::zoom, Part::body, 1},
             {497, zooms, Kind::zoom, Part::start, 1},
             {604, zooms, Kind::zoom, Part::end, 1},
             {520, overlays, Kind::none, Part::body, 0},
             {770, overlays, Kind::overlay, Part::body, 1}, // The later one is on top.
             {720, overlays, Kind::overlay, Part::body, 0},
             {103, cuts, Kind::cut, Part::start, 0},
             {150, cuts, Kind::cut, Part::body, 0},
             {301, cuts, Kind::cut, Part::body, 1}, // 2 px wide.
             {299, cuts, Kind::cut, Part::start, 1},
             {304, cuts, Kind::cut, Part::end, 1},
             {202, tracks, Kind::cut, Part::end, 0},
             {151, tracks, Kind::selection, Part::start, 0},
             {399, tracks, Kind::selection, Part::end, 0},
             {250, tracks, Kind::none, Part::body, 0},
             {120, tracks, Kind::cut, Part::body, 0},
             {900, tracks, Kind::none, Part::body, 0},
         }) {
        const auto found = TimelineTargets::at(x, y, scale, project, selection);
        EXPECT_EQ(found.kind, kind) << x << ' ' << y;
        EXPECT_EQ(found.part, part) << x << ' ' << y;
        EXPECT_EQ(found.index, index) << x << ' ' << y;
    }
}

TEST(TimelineRows, CollapsesEmptyLanesAndPutsTheComputersAudioLast)
{
    auto project = emptyProject(100);
    project.tracks = {track(TrackKind::screen, "a", 0, 100), track(TrackKind::system, "b", 0, 100),
        track(TrackKind::microphone, "c", 0, 100)};
    const TimelineRows bare(project);
    EXPECT_EQ(bare.tracksTop(), bare.zoomsTop()) << "no lanes";
    EXPECT_LT(bare.trackTop(0), bare.trackTop(2));
    EXPECT_LT(bare.trackTop(2), bare.trackTop(1)) << "the microphone is above the computer's audio";
    EXPECT_GT(bare.height(), bare.trackTop(1));

    project.edit.events = {pointer(PointerKind::click, 1)};
    EXPECT_FALSE(TimelineRows(project).hasZooms()) << "clicks are not zoom points";
    project.edit.cuts = {{10, 20}};
    const TimelineRows cut(project);
    EXPECT_EQ(cut.cutsTop(), cut.zoomsTop());
    EXPECT_GE(cut.tracksTop(), cut.cutsTop() + TimelineRows::lane);
}

TEST(TimelineTargets, KeepsDragsInTheRecordingWithAMinimumDuration)
{
    using Part = TimelineTarget::Part;
    TimelineTarget target{.kind = TimelineTarget::Kind::zoom, .part = Part::start, .index = 0, .span = {4, 6}};
    EXPECT_EQ(TimelineTargets::dragged(target, 5, 10), (TimeSpan{5, 6}));
    EXPECT_EQ(TimelineTargets::dragged(target, 8, 10), (TimeSpan{5.96, 6}));
    EXPECT_EQ(TimelineTargets::dragged(target, -1, 10), (TimeSpan{0, 6}));
    target.part = Part::end;
    EXPECT_EQ(TimelineTargets::dragged(target, 1, 10), (TimeSpan{4, 4.04}));
    EXPECT_EQ(TimelineTargets::dragged(target, 11, 10), (TimeSpan{4, 10}));
    target.part = Part::body;
    EXPECT_EQ(TimelineTargets::dragged(target, 9, 10), (TimeSpan{8, 10}));
    EXPECT_EQ(TimelineTargets::dragged(target, -9, 10), (TimeSpan{0, 2}));
}

TEST(PreviewZoom, RampsInAndOutAroundTheLatestPoint)
{
    using namespace PreviewGeometry;
    const std::vector<PointerEvent> events{
        zoom(1, 1, 3), pointer(PointerKind::click, 1.5), zoom(5, 4, 2, 1, 0), zoom(6, 1, 4), zoom(6, 1, 2)};
    const Size size{1000, 500};
    EXPECT_EQ(previewTransform(events, 0.5, size), Zoom{});
    EXPECT_NEAR(previewTransform(events, 1.1, size).scale, 1 + 2 * 0.4, 1e-12);
    EXPECT_NEAR(previewTransform(events, 1.9, size).scale, 1 + 2 * 0.4, 1e-9);
    EXPECT_EQ(previewTransform(events, 2, size), Zoom{}) << "the end is exclusive";
    EXPECT_EQ(previewTransform(events, 5.5, size), (Zoom{2, 500, 0})) << "stays inside the frame";
    EXPECT_EQ(previewTransform(events, 6.5, size), (Zoom{4, 375, 187.5}))
        << "the last to start wins, then the first in the list";
}

TEST(PreviewGeometry, PlacesCameraAndTextAsTheExportDoes)
{
    using namespace PreviewGeometry;
    EXPECT_EQ(fitted({1000, 1000}, {1920, 1080}), (Rect{0, 218.75, 1000, 562.5}));
    EXPECT_EQ(fitted({1000, 0}, {1920, 1080}), Rect{});
    EditState edit;
    EXPECT_EQ(cameraPlace(edit, {1280, 720}, {640, 480}), (Rect{960, 518.4, 280, 210})) << "281.6 truncated to even";
    edit.cameraWidth = 0;
    EXPECT_EQ(cameraPlace(edit, {1280, 720}, {640, 480}).width, 2);
    struct Case {
        std::int64_t height;
        int size;
    };
    for (const auto& [height, size] : {Case{1080, 38}, {480, 18}, {504, 18}, {532, 19}})
        EXPECT_EQ(textSize(height), size);
}

TEST(PointerTrail, KeepsEachPositionUntilTheNext)
{
    using namespace PreviewGeometry;
    auto project = emptyProject(10);
    project.edit.events = {pointer(PointerKind::click, 9.8, 0.9, 0.9), pointer(PointerKind::move, 4, 0.1, 0.2),
        zoom(5, 1, 2), pointer(PointerKind::move, 6, 0.3, 0.4)};
    PointerTrail trail;
    trail.show(project);
    using Place = PointerTrail::Place;
    EXPECT_EQ(trail.at(3.9), std::nullopt);
    EXPECT_THAT(trail.at(4), Optional(Place{0.1, 0.2}));
    EXPECT_THAT(trail.at(5.9), Optional(Place{0.1, 0.2})) << "ignores zoom points";
    EXPECT_THAT(trail.at(6), Optional(Place{0.3, 0.4}));
    EXPECT_THAT(trail.at(9.9), Optional(Place{0.9, 0.9}));
    EXPECT_EQ(trail.at(9.96), std::nullopt) << "hides the pointer soon after the last event";
    EXPECT_EQ(trail.halos(9.7).size(), 0);
    ASSERT_EQ(trail.halos(9.9).size(), 1);
    EXPECT_THAT(trail.halos(9.9).front().progress, DoubleNear(0.2, 1e-9));
    EXPECT_EQ(trail.halos(10).size(), 0) << "no mark outlasts the recording";
    EXPECT_EQ(trail.zooms().size(), 1);
}

TEST(WaveformPeaks, ShowsEveryPeakAtEveryScale)
{
    // One minute of a quiet tone with one maximum and one minimum sample.
    std::vector<std::int16_t> samples(60 * WaveformPeaks::sampleRate);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>(std::lround(1000 * std::sin(static_cast<double>(i) * 0.3)));
    samples[31 * WaveformPeaks::sampleRate + 5] = 32767;
    samples[45 * WaveformPeaks::sampleRate + 17] = -32768;
    const auto peaks = WaveformPeaks::of(samples);
    EXPECT_DOUBLE_EQ(peaks.duration(), 60);

    for (const double width : {0.004, 0.02, 0.1, 0.7, 3.0, 20.0, 60.0}) {
        EXPECT_FLOAT_EQ(peaks.between(31, 31 + width).high, 1) << width;
        EXPECT_FLOAT_EQ(peaks.between(45, 45 + width).low, -1) << width;
        const auto quiet = peaks.between(5, 5 + width / 4);
        EXPECT_LT(quiet.high, 0.05) << width;
        EXPECT_GT(quiet.high, 0) << width;
    }
    // Adjacent columns miss no sample at any scale.
    for (const int columns : {7, 100, 1333, 9999}) {
        float highest = 0;
        for (int i = 0; i < columns; ++i)
            highest = std::max(highest, peaks.between(60.0 * i / columns, 60.0 * (i + 1) / columns).high);
        EXPECT_FLOAT_EQ(highest, 1) << columns;
    }
    EXPECT_EQ(peaks.between(60, 61), WaveformPeaks::Peak{});
    EXPECT_EQ(peaks.between(-2, -1), WaveformPeaks::Peak{});
    EXPECT_EQ(WaveformPeaks().between(0, 1), WaveformPeaks::Peak{});
}

TEST(WaveformPeaks, SurvivesEncodingAndReadingInPieces)
{
    std::mt19937 random(3);
    std::vector<std::int16_t> samples(100'001);
    for (auto& sample : samples)
        sample = static_cast<std::int16_t>(random());
    const auto whole = WaveformPeaks::of(samples);
    WaveformPeaks pieces;
    for (std::span<const std::int16_t> rest(samples); !rest.empty();) {
        const auto piece = rest.first(std::min<std::size_t>(rest.size(), random() % 777 + 1));
        pieces.add(piece);
        rest = rest.subspan(piece.size());
    }
    pieces.finish();
    EXPECT_EQ(pieces.encoded(), whole.encoded());

    const auto kept = WaveformPeaks::decoded(whole.encoded());
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->duration(), whole.duration());
    EXPECT_EQ(kept->between(2, 9), whole.between(2, 9));
    EXPECT_FALSE(WaveformPeaks::decoded("something else"));
    EXPECT_FALSE(WaveformPeaks::decoded(whole.encoded() + "x"));
    EXPECT_FALSE(WaveformPeaks::decoded(""));
}

TEST(ProseFlow, PutsEveryBoxInALineAndFindsItThere)
{
    std::mt19937_64 random(11);
    for (int round = 0; round < 100; ++round) {
        std::vector<ProseFlow::Box> boxes;
        std::vector<std::size_t> paragraphs;
        const std::size_t words = 1 + random() % 200;
        std::vector<char> isHidden(words);
        for (std::uint32_t word = 0; word < words; ++word) {
            if (word == 0 || random() % 30 == 0)
                paragraphs.push_back(boxes.size());
            isHidden[word] = random() % 8 == 0;
            for (std::size_t part = 0; !isHidden[word] && part < 1 + random() % 2; ++part)
                boxes.push_back({.index = word, .width = static_cast<double>(5 + random() % 90)});
            if (random() % 9 == 0)
                boxes.push_back({.kind = ProseFlow::Box::Kind::pause, .index = word, .width = 50});
        }
        ProseFlow flow;
        flow.setBoxes(boxes, paragraphs, words);
        flow.setMetrics({.width = 60.0 + static_cast<double>(random() % 500)});
        std::size_t next = 0;
        double bottom = 0;
        for (const auto& line : flow.lines()) {
            ASSERT_EQ(line.first, next);
            ASSERT_GT(line.end, line.first);
            ASSERT_GE(line.top, bottom);
            bottom = line.top + flow.metrics().lineHeight;
            for (std::size_t i = line.first; i < line.end; ++i) {
                const auto& box = flow.boxes()[i];
                ASSERT_TRUE(i == line.first || box.x + box.width <= flow.metrics().width);
                ASSERT_EQ(flow.boxUnder(box.x + box.width / 2, line.top + 3), &box);
            }
            next = line.end;
        }
        ASSERT_EQ(next, boxes.size());
        EXPECT_EQ(flow.height(), bottom);
        for (std::size_t word = 0; word < words; ++word) {
            ASSERT_EQ(flow.isShown(word), !isHidden[word]);
            if (const auto place = flow.placeOf(word)) {
                ASSERT_EQ(flow.wordAt(place->x + 1, place->top + 1), word);
                ASSERT_EQ(flow.caret(word).x, place->x);
                ASSERT_EQ(flow.stretches(word, word).front().x, place->x);
            }
        }
    }
    ProseFlow none;
    none.setBoxes({}, {}, 3);
    EXPECT_EQ(none.wordAt(0, 0), std::nullopt);
    EXPECT_EQ(none.height(), 0);
    EXPECT_TRUE(none.stretches(0, 2).empty());
}

} // namespace

} // namespace orvo::test
