#include "OrvoVideo/playback/VideoShelf.h"

#include "VideoCore/Error.h"

#include <algorithm>
#include <utility>

namespace orvo {

VideoSource& VideoShelf::source(const VideoFile& file)
{
    auto found = std::ranges::find(m_entries, file, &Entry::file);
    if (found != m_entries.end() && found->source->isBroken()) {
        m_entries.erase(found);
        found = m_entries.end();
    }
    if (found == m_entries.end()) {
        m_entries.push_front({.file = file, .source = std::make_unique<VideoSource>(file.path, file.rotation)});
        if (m_entries.size() > kept)
            m_entries.pop_back();
    } else {
        m_entries.splice(m_entries.begin(), m_entries, found);
    }
    return *m_entries.front().source;
}

void VideoShelf::expect(const VideoFile& file, double seconds)
{
    try {
        if (!m_spare || m_spare->file != file)
            m_spare = {.file = file, .source = std::make_unique<VideoSource>(file.path, file.rotation)};
        m_spare->source->prepare(seconds);
    } catch (const Error&) {
        m_spare.reset();
    }
}

void VideoShelf::useExpected(const VideoFile& file, double seconds)
{
    if (!m_spare || m_spare->file != file || !m_spare->source->prepared())
        return;
    constexpr double near = 0.1;
    if (const double ahead = seconds - *m_spare->source->prepared(); ahead < 0 || ahead > near)
        return;
    const auto found = std::ranges::find(m_entries, file, &Entry::file);
    if (found != m_entries.end())
        std::swap(found->source, m_spare->source);
    else
        m_entries.push_front({.file = file, .source = std::move(std::exchange(m_spare, std::nullopt)->source)});
}

void VideoShelf::clear()
{
    m_entries.clear();
    m_spare.reset();
}

} // namespace orvo
