#pragma once

#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/capture/screen/CapturedPicture.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace orvo {

/// A sample of one track.
using CaptureSample = std::variant<CapturedPicture, SoundBlock>;

/// Writes the samples of one track into one file as they come: H.264 in a QuickTime movie, or AAC in an MPEG-4 audio file,
/// in fragments of two seconds, so that whatever ends the process costs no more than those.
///
/// Time 0 of the file is the origin of the recording, and what is written keeps its time: where a track has nothing, as
/// before its first sample, through a pause or while a device is away, sound is silent and the last picture stays. The first
/// picture stands for what came before it; until it is there, and where none comes at all, the file is black. Sound whose
/// clock runs faster or slower than the recording's is stretched by so little that nobody hears it.
///
/// No operation but `drain` and `finish` waits or touches the disk: all work is done in order on a thread of the writer's
/// own. When that falls behind, pictures and sound are dropped rather than kept waiting.
class SampleWriter {
public:
    struct Settings {
        std::optional<PictureSize> size; ///< Of a track of pictures; nothing for one of sound.
        int fps = 30; ///< How many pictures a second there are at most.
        /// How long, in seconds, a picture may take from its time until it is handed over. So far behind the time is where
        /// the file goes on with a picture that stands; one that comes later still is shown behind that.
        double delay = 0.1;
        int channels = 1; ///< Of a track of sound for which none comes.
        /// Called once on the writer's thread with the first failure, after which nothing more is written.
        std::function<void(std::exception_ptr)> onFailure = {};
    };

    /// Makes the file. Throws file system errors unchanged, and `captureError` when the system has no encoder.
    SampleWriter(std::filesystem::path url, Settings settings);

    /// Ends without finishing the file when `finish` was not called: what is written of it stays.
    ~SampleWriter();
    SampleWriter(const SampleWriter&) = delete;
    SampleWriter& operator=(const SampleWriter&) = delete;

    const std::filesystem::path& url() const noexcept;

    /// Hands over a sample of the writer's kind. `origin` is the same in all calls. Any thread.
    void append(CaptureSample sample, CaptureTime origin);

    /// Says how late it is while samples may be missing: the file follows at some distance. Any thread.
    void advance(CaptureTime now, CaptureTime origin);

    /// Blocks until everything handed over so far is with the encoder. Any thread.
    void drain();

    /// Closes the file when everything appended is written. A track that has samples then lasts until `end`, if that is
    /// given. Blocks; called once. Throws the first failure there was.
    void finish(std::optional<CaptureTime> end = std::nullopt);

    /// How many samples were dropped because the writer had fallen behind.
    std::uint64_t dropped() const noexcept;

private:
    class Work;

    std::unique_ptr<Work> m_work;
};

} // namespace orvo
