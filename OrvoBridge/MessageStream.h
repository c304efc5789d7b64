#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The framing of native messaging: each message is its length as an unsigned 32-bit number in the machine's byte order,
/// and then so many bytes of UTF-8 JSON.
namespace orvo::bridge {

/// A message longer than this is none of ours: what the extension sends is cut into smaller pieces. Browsers allow 64 MiB.
inline constexpr std::size_t longestMessage = std::size_t{2} << 20;

/// What a browser takes from a helper at most, in bytes.
inline constexpr std::size_t longestAnswer = std::size_t{1} << 20;

/// Puts messages together from the bytes of a pipe.
class MessageStream {
public:
    enum class State {
        open, ///< More may come.
        ended, ///< The other side has closed the pipe; a message that was under way is lost.
    };

    /// Reads once what is there; waits when nothing is.
    State read(int descriptor);

    /// The next whole message; valid until the next call of any member.
    std::optional<std::string_view> next();

    /// Whether an impossible length came: where the next message begins is not known, and none comes any more.
    bool isBroken() const noexcept { return m_broken; }

private:
    std::string m_bytes;
    std::size_t m_used = 0;
    bool m_broken = false;
};

/// Writes one message whole. Returns whether the other side still takes any. `text` is at most `longestAnswer` bytes.
bool writeMessage(int descriptor, std::string_view text);

} // namespace orvo::bridge
