#pragma once

#include "VideoCore/VideoProject.h"

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

/// Projects and their records for tests: short to write, and the same in every run.
namespace orvo::test {

/// The identifier 00000000-0000-4000-8000-… that ends in `number`.
Uuid fixedId(std::uint64_t number);

TranscriptWord word(std::string text, double start, double end);
PointerEvent pointer(PointerKind kind, double time, double x = 0.5, double y = 0.5);
MediaTrack track(TrackKind kind, std::string file, double start, double duration);

/// A project with a fixed identifier and fixed dates, this duration and nothing else in it.
VideoProject emptyProject(double duration = 10);

/// A published project with several of each record, where no field has its default value.
VideoProject fullProject();

/// Any project that has a document form: all lengths of lists, all kinds of numbers and texts. Dates have whole seconds.
VideoProject randomProject(std::mt19937_64& random);

/// Parts of two lists, mixed: some items stay, some go, some move, some come twice.
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

/// A text of up to `length` characters from all of Unicode.
std::string randomText(std::mt19937_64& random, std::size_t length);

/// Any finite number: ordinary ones, whole ones, and every pattern of bits.
double randomNumber(std::mt19937_64& random);

} // namespace orvo::test
