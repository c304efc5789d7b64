#include "VideoCore/Edits.h"

#include "TestSupport/Projects.h"

#include <functional>
#include <gmock/gmock.h>

namespace orvo {
namespace {

using test::fixedId;
using test::fullProject;

TEST(Edits, touchOnlyWhatTheyName)
{
    const auto before = fullProject();
    struct Case {
        std::string_view name;
        std::function<bool(VideoProject&, const Uuid&)> apply; ///< Whether it says that something changed.
        Uuid id;
        std::function<void(VideoProject&)> byHand;
    };
    const Case cases[]{
        {"word", [](auto& p, auto& id) { return Edits::correctWord(p, id, "Buenas"); }, fixedId(9),
            [](auto& p) { p.edit.words.edit()[0].text = "Buenas"; }},
        {"event", [](auto& p, auto& id) { return Edits::setEventValue(p, id, &PointerEvent::scale, 3); }, fixedId(14),
            [](auto& p) { p.edit.events.edit()[2].scale = 3; }},
        {"overlay", [](auto& p, auto& id) { return Edits::setOverlayValue(p, id, &Overlay::end, 9); }, fixedId(8),
            [](auto& p) { p.edit.overlays.edit()[1].end = 9; }},
        {"volume", [](auto& p, auto& id) { return Edits::setVolume(p, id, 0.25); }, fixedId(4),
            [](auto& p) { p.tracks.edit()[2].volume = 0.25; }},
        {"remove event", [](auto& p, auto& id) { return Edits::removeEvent(p, id) == 1; }, fixedId(13),
            [](auto& p) { p.edit.events.edit().erase(p.edit.events.begin() + 1); }},
        {"remove overlay", [](auto& p, auto& id) { return Edits::removeOverlay(p, id) == 1; }, fixedId(7),
            [](auto& p) { p.edit.overlays.edit().erase(p.edit.overlays.begin()); }},
    };
    for (const auto& [name, apply, id, byHand] : cases) {
        SCOPED_TRACE(name);
        auto project = before;
        EXPECT_FALSE(apply(project, fixedId(99)));
        EXPECT_EQ(project, before);
        EXPECT_TRUE(project.edit.words.sharesStorageWith(before.edit.words)
            && project.edit.events.sharesStorageWith(before.edit.events)
            && project.edit.overlays.sharesStorageWith(before.edit.overlays)
            && project.tracks.sharesStorageWith(before.tracks))
            << "nothing to change, nothing copied";

        auto expected = before;
        byHand(expected);
        EXPECT_TRUE(apply(project, id));
        EXPECT_EQ(project, expected);
        EXPECT_NE(project, before);
    }
}

} // namespace
} // namespace orvo
