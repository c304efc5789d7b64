#include "OrvoVideo/model/History.h"
#include "TestSupport/Projects.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace orvo::test {
namespace {

/// Changes a random part of a project.
VideoProject randomlyChanged(VideoProject project, std::mt19937_64& random)
{
    const auto other = randomProject(random);
    switch (random() % 4) {
    case 0:
        project.edit.words = mixed(project.edit.words, other.edit.words, random);
        break;
    case 1:
        project.edit.events = mixed(project.edit.events, other.edit.events, random);
        break;
    case 2:
        project.title += 'x';
        project.publication = other.publication;
        break;
    default:
        break; // An edit without a change is also a step.
    }
    return project;
}

TEST(HistoryTests, GoesBackAndForwardThroughEveryVersion)
{
    std::mt19937_64 random(4);
    for (int round = 0; round < 40; ++round) {
        History history;
        std::vector<VideoProject> versions{randomProject(random)};
        for (int i = 0; i < 60; ++i) {
            versions.push_back(randomlyChanged(versions.back(), random));
            history.record(versions[versions.size() - 2], versions.back());
        }
        // A random walk back and forth, then a new branch.
        std::size_t at = versions.size() - 1;
        for (int i = 0; i < 200; ++i) {
            const bool back = random() % 5 < 3;
            const auto step = back ? history.undo(versions[at]) : history.redo(versions[at]);
            ASSERT_EQ(step.has_value(), back ? at > 0 : at + 1 < versions.size());
            if (!step)
                continue;
            at = back ? at - 1 : at + 1;
            ASSERT_EQ(*step, versions[at]) << "round " << round;
        }
        versions.resize(at + 1);
        versions.push_back(randomlyChanged(versions.back(), random));
        history.record(versions[at], versions[at + 1]);
        EXPECT_FALSE(history.canRedo());
        for (std::size_t i = versions.size() - 1; i > 0; --i)
            ASSERT_EQ(history.undo(versions[i]), versions[i - 1]);
    }
}

TEST(HistoryTests, KeepsAHundredVersionsUnlessTrimmingIsOff)
{
    History history;
    std::vector<VideoProject> versions{emptyProject()};
    const auto edit = [&](History::Trim trim) {
        versions.push_back(versions.back());
        versions.back().title = std::to_string(versions.size());
        history.record(versions[versions.size() - 2], versions.back(), trim);
    };
    const auto depth = [&] {
        auto copy = history;
        auto present = versions.back();
        int steps = 0;
        while (auto before = copy.undo(present)) {
            present = *before;
            ++steps;
        }
        return steps;
    };
    for (int i = 0; i < 100; ++i)
        edit(History::Trim::toLimit);
    EXPECT_EQ(depth(), 100);
    edit(History::Trim::no);
    EXPECT_EQ(depth(), 101);
    edit(History::Trim::toLimit);
    EXPECT_EQ(depth(), 100);
    history.clear();
    EXPECT_FALSE(history.canUndo());
}

} // namespace
} // namespace orvo::test
