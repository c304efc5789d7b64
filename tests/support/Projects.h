#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

/// Projects and records for tests: short to write, and the same in every run.
namespace orvo::test {

/// The identifier 00000000-0000-4000-8000-…, ending in `number`.
Uuid fixedId(std::uint64_t number);

TranscriptWord word(std::string text, double start, double end);
PointerEvent pointer(PointerKind kind, double time, double x = 0.5, double y = 0.5);
MediaTrack track(TrackKind kind, std::string file, double start, double duration);

/// An otherwise empty project with a fixed identifier, fixed dates and this duration in seconds.
VideoProject emptyProject(double duration = 10);

/// A published project with records of each type and no field at its default value.
VideoProject fullProject();

/// A random project that a document can represent, with lists of various lengths and all kinds of numbers and texts. Dates
/// have whole seconds.
VideoProject randomProject(std::mt19937_64& random);

/// A random mixture of two lists: keeps, drops, moves and repeats items.
template <typename T> SharedList<T> mixed(const SharedList<T>& a, const SharedList<T>& b, std::mt19937_64& random)
{
    std::vector<T> items;
    for (const auto* list : {&a, &b}) {
        for (const auto& item : *list) {
            if (random() % 4 != 0)
                items.push_back(item);
            if (random() % 40 == 0)
                items.push_back(item);
        }
    }
    for (std::size_t i = 0; i < items.size() && random() % 2 == 0; ++i)
        std::swap(items[i], items[random() % items.size()]);
    return SharedList(std::move(items));
}

/// A random text of up to `length` characters from all of Unicode.
std::string randomText(std::mt19937_64& random, std::size_t length);

/// A random finite number: an ordinary one, a whole one, or any bit pattern.
double randomNumber(std::mt19937_64& random);

} // namespace orvo::test
