#pragma once

#include "OrvoVideo/transcription/SpeechActivity.h"

#include <vector>

namespace orvo::speech {

/// The audio for one run of the recogniser: stretches of speech and the silence around them, with long silences
/// shortened.
class Chunk {
public:
    /// A contiguous piece of the recording, in samples.
    struct Piece {
        std::size_t from = 0; ///< In the recording.
        std::size_t count = 0;
        std::size_t at = 0; ///< In the chunk.
    };

    /// `speech` are one or more stretches in a recording of `samples` samples. The chunk excludes speech outside
    /// `room`, except for a short overlap where no silence separates it, so that no word is cut in half.
    Chunk(std::vector<Frames> speech, Frames room, std::size_t samples);

    const std::vector<Frames>& speech() const noexcept { return m_speech; }
    Frames room() const noexcept { return m_room; }
    const std::vector<Piece>& pieces() const noexcept { return m_pieces; }

    /// Whether the audio continues without a silence before or after the chunk.
    bool goesOnBefore() const noexcept { return m_room.begin == m_speech.front().begin && m_room.begin > 0; }
    bool goesOnBehind() const noexcept { return m_room.end == m_speech.back().end; }

    /// Length in samples.
    std::size_t size() const noexcept { return m_pieces.back().at + m_pieces.back().count; }

    /// Converts a time in the chunk to one in the recording. Seconds.
    double inRecording(double seconds) const;
    /// Converts a time in the recording to one in the chunk. A time that was left out maps to the end of the piece before
    /// it. Seconds.
    double inChunk(double seconds) const;

private:
    std::vector<Frames> m_speech;
    Frames m_room;
    std::vector<Piece> m_pieces;
};

/// Splits a recording into chunks for the recogniser, at the longest silences. A stretch that is too long is split where
/// `loudness` is lowest.
std::vector<Chunk> makeChunks(const std::vector<Frames>& speech, const Loudness& loudness, std::size_t samples);

} // namespace orvo::speech
