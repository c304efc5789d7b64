#pragma once

#include "OrvoVideo/transcription/SpeechActivity.h"

#include <vector>

namespace orvo::speech {

/// What is given to the recogniser at a time: stretches of speech and the silence around them, of which what is longer than
/// anybody needs is left out.
class Chunk {
public:
    /// A piece of the sound as it is, in samples.
    struct Piece {
        std::size_t from = 0; ///< In the recording.
        std::size_t count = 0;
        std::size_t at = 0; ///< In the chunk.
    };

    /// For stretches of speech, at least one, of a recording with so many samples. What is said before and after `room` is
    /// not in it; but where no silence parts it from the chunk, a little of it is heard on, so that no word is heard in
    /// halves.
    Chunk(std::vector<Frames> speech, Frames room, std::size_t samples);

    const std::vector<Frames>& speech() const noexcept { return m_speech; }
    Frames room() const noexcept { return m_room; }
    const std::vector<Piece>& pieces() const noexcept { return m_pieces; }

    /// Whether the sound goes on without a silence before and behind the chunk.
    bool goesOnBefore() const noexcept { return m_room.begin == m_speech.front().begin && m_room.begin > 0; }
    bool goesOnBehind() const noexcept { return m_room.end == m_speech.back().end; }

    /// Length in samples.
    std::size_t size() const noexcept { return m_pieces.back().at + m_pieces.back().count; }

    /// Where a moment of the chunk lies in the recording. Seconds.
    double inRecording(double seconds) const;
    /// Where a moment of the recording lies in the chunk; one that was left out, where it would be. Seconds.
    double inChunk(double seconds) const;

private:
    std::vector<Frames> m_speech;
    Frames m_room;
    std::vector<Piece> m_pieces;
};

/// Parts a recording into chunks that the recogniser takes whole, at its longest silences. `loudness` says where a stretch
/// that is too long by itself is parted: where it is quietest.
std::vector<Chunk> makeChunks(const std::vector<Frames>& speech, const Loudness& loudness, std::size_t samples);

} // namespace orvo::speech
