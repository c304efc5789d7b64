#include "OrvoBridge/TabRecording.h"

#include <algorithm>
#include <format>
#include <vector>

namespace orvo::bridge {

namespace {

/// The project before anything is recorded.
VideoProject newProject(const Start& start)
{
    auto project = VideoProject::make(start.title.empty() ? "Pestaña" : start.title);
    project.width = start.width;
    project.height = start.height;
    project.fps = start.fps;
    std::vector<MediaTrack> tracks;
    tracks.reserve(start.tracks.size());
    for (const TrackKind kind : start.tracks)
        tracks.push_back({.kind = kind, .file = std::format("{}/{}.webm", ProjectStore::mediaName, orvo::textOf(kind))});
    project.tracks = SharedList(std::move(tracks));
    return project;
}

} // namespace

TabRecording::TabRecording(const ProjectStore& store, const Start& start)
    : m_project(store, RecordedProject::Kind::tab, newProject(start))
{
    const auto tracks = m_project.project().tracks;
    try {
        for (const auto& track : tracks)
            m_files.emplace(track.kind, File{.content = AppendedFile(m_project.folder() / track.file)});
    } catch (const std::exception&) {
        m_project.discard();
        throw;
    }
}

void TabRecording::write(const Chunk& chunk)
{
    const auto found = m_files.find(chunk.track);
    if (found == m_files.end())
        throw ProtocolError("this track is not recorded");
    File& file = found->second;
    if (chunk.sequence != file.next)
        throw ProtocolError(std::format("piece {} came where {} is next", chunk.sequence, file.next));
    file.content.append(chunk.data);
    ++file.next;
}

void TabRecording::setStarts(const Starts& starts)
{
    m_project.change([&](VideoProject& project) {
        auto& tracks = project.tracks.edit();
        for (const auto& entry : starts.entries) {
            const auto track = std::ranges::find(tracks, entry.track, &MediaTrack::kind);
            if (track == tracks.end())
                throw ProtocolError("this track is not recorded");
            track->start = entry.seconds;
        }
    });
}

void TabRecording::setDuration(double seconds)
{
    m_project.change([&](VideoProject& project) {
        project.duration = seconds;
        for (auto& track : project.tracks.edit())
            track.duration = std::max(0.0, seconds - track.start);
    });
}

void TabRecording::checkpoint()
{
    // The date of the document is that of its last checkpoint.
    m_project.checkpoint(m_project.change([](VideoProject&) { }));
}

} // namespace orvo::bridge
