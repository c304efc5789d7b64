#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

class QThread;

namespace orvo::test {

/// A secret service on the session bus whose keyring is locked, and the user in front of it, who is asked for a password
/// before it opens. It has the service's name for as long as it lives, on a thread of its own.
class PromptingKeyring {
public:
    /// What the user does when asked.
    enum class User : std::uint8_t { answers, refuses, isAway };

    struct Setup {
        std::string secret = "secreto"; ///< Under any account; when empty there is no keyring yet.
        User user = User::answers;
        std::chrono::milliseconds thinks{0}; ///< Until the user does something.
        bool isSilentAfterwards = false; ///< Once the user has answered, the service answers nothing any more.
    };

    explicit PromptingKeyring(const Setup& setup);
    ~PromptingKeyring();
    PromptingKeyring(const PromptingKeyring&) = delete;
    PromptingKeyring& operator=(const PromptingKeyring&) = delete;

    /// How often the user was asked.
    int asked() const;
    /// How often the client did not want an answer any more.
    int takenBack() const;
    /// What is stored; once nobody speaks to it any more.
    std::string secret() const;

private:
    class Service;

    std::unique_ptr<QThread> m_thread;
    Service* m_service; ///< Of the thread.
};

} // namespace orvo::test
