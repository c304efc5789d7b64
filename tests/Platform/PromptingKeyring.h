#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

class QThread;

namespace orvo::test {

/// A secret service on the session bus with a locked keyring that prompts a simulated user for the password. Owns the
/// service's bus name during its lifetime; runs on its own thread.
class PromptingKeyring {
public:
    /// The user's reaction to the prompt.
    enum class User : std::uint8_t { answers, refuses, isAway };

    struct Setup {
        std::string secret = "secreto"; ///< The secret of every account; if empty, there is no keyring yet.
        User user = User::answers;
        std::chrono::milliseconds thinks{0}; ///< The time until the user reacts.
        bool isSilentAfterwards = false; ///< Whether the service stops answering once the user has answered.
    };

    explicit PromptingKeyring(const Setup& setup);
    ~PromptingKeyring();
    PromptingKeyring(const PromptingKeyring&) = delete;
    PromptingKeyring& operator=(const PromptingKeyring&) = delete;

    /// The number of prompts.
    int asked() const;
    /// The number of prompts that the client dismissed.
    int takenBack() const;
    /// The stored secret. Call it only while no client uses the service.
    std::string secret() const;

private:
    class Service;

    std::unique_ptr<QThread> m_thread;
    Service* m_service; ///< Lives on the thread, which deletes it.
};

} // namespace orvo::test
