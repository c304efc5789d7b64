#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Native messaging frames: each message is its length as an unsigned 32-bit number in native byte order, followed by
/// UTF-8 JSON of that length.
namespace orvo::bridge {

/// Maximum message size that the helper accepts, in bytes: the extension splits its data. Browsers allow 64 MiB.
inline constexpr std::size_t maxMessageBytes = std::size_t{2} << 20;

/// Maximum message size that a browser accepts from a helper, in bytes.
inline constexpr std::size_t maxAnswerBytes = std::size_t{1} << 20;

/// Assembles messages from the bytes of a pipe.
class MessageStream {
public:
    enum class State {
        open, ///< More data may come.
        ended, ///< The other side closed the pipe; an incomplete message is lost.
    };

    /// Reads once, waiting for data.
    State read(int descriptor);

    /// The next complete message; valid until the next call.
    std::optional<std::string_view> next();

    /// Whether an invalid length was read. No message follows, because its start is unknown.
    bool isBroken() const noexcept { return m_broken; }

private:
    std::string m_bytes;
    std::size_t m_used = 0;
    bool m_broken = false;
};

/// Writes one message. Returns whether the other side still reads. `text` is at most `maxAnswerBytes` bytes.
bool writeMessage(int descriptor, std::string_view text);

} // namespace orvo::bridge
