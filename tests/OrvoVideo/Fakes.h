#pragma once

#include "OrvoVideo/model/RegionPicker.h"
#include "OrvoVideo/playback/PreviewPlayer.h"
#include "Platform/keychain/Keychain.h"
#include "Platform/shortcuts/ShortcutKeys.h"
#include "Platform/workspace/FilePanels.h"
#include "Platform/workspace/Pasteboard.h"
#include "Platform/workspace/Workspace.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Platform services that a test controls.
namespace orvo::test {

/// A player whose time moves only by `tick`. Loading fails for missing files, as in the real player.
class FakePlayer final : public PreviewPlayer {
public:
    std::vector<PreviewComposition> loads; ///< All requested loads.
    std::vector<double> seeks;
    std::vector<double> expected; ///< Seeks announced with `expectSeek`.
    std::vector<std::pair<std::size_t, double>> volumes;
    bool holdsAnswers = false; ///< Only `answer()` completes loads.
    QImage image; ///< Returned by `frame()`.

    /// The loaded composition; null without one.
    const PreviewComposition* composition() const { return m_hasComposition ? &m_composition : nullptr; }

    /// Completes the last load.
    void answer()
    {
        const auto exists = [](const auto& clip) { return std::filesystem::exists(clip.file); };
        const auto& asked = loads.back();
        m_loading = false;
        if (!std::ranges::all_of(asked.video, exists) || !std::ranges::all_of(asked.audio, exists)) {
            emit failed(QStringLiteral("no such file"));
            return finishSeek();
        }
        m_composition = asked;
        m_hasComposition = true;
        m_position = 0;
        setRate(0);
        emit loaded();
        finishSeek();
    }

    /// Moves playback to `seconds`.
    void tick(double seconds)
    {
        m_target.reset();
        m_position = seconds;
        emit timeChanged(seconds);
    }

    void load(const PreviewComposition& composition) override
    {
        loads.push_back(composition);
        m_loading = true;
        m_target.reset();
        if (!holdsAnswers)
            QMetaObject::invokeMethod(
                this,
                [this, number = loads.size()] {
                    if (number == loads.size())
                        answer();
                },
                Qt::QueuedConnection);
    }
    void clear() override
    {
        m_loading = m_hasComposition = false;
        m_target.reset();
    }
    bool hasComposition() const override { return m_hasComposition; }
    void play() override { setRate(1); }
    void pause() override { setRate(0); }
    double rate() const override { return m_rate; }
    void setRate(double rate) override
    {
        if (std::exchange(m_rate, rate) != rate)
            emit rateChanged();
    }
    void seek(double seconds) override
    {
        seeks.push_back(seconds);
        m_target = seconds;
        QMetaObject::invokeMethod(
            this,
            [this, number = seeks.size()] {
                if (number == seeks.size())
                    finishSeek();
            },
            Qt::QueuedConnection);
    }
    double position() const override { return m_target.value_or(m_position); }
    void expectSeek(double seconds) override { expected.push_back(seconds); }
    void setVolume(std::size_t index, double volume) override { volumes.emplace_back(index, volume); }
    QImage frame() const override { return image; }

private:
    /// Completes the last seek, unless a load is pending.
    void finishSeek()
    {
        if (m_loading || !m_target)
            return;
        m_position = *std::exchange(m_target, std::nullopt);
        emit seekFinished(m_position);
        emit timeChanged(m_position);
    }

    PreviewComposition m_composition;
    bool m_hasComposition = false;
    double m_rate = 0;
    double m_position = 0;
    bool m_loading = false;
    std::optional<double> m_target; ///< The target of the pending seek.
};

/// Panels that answer at once with the path set by the test.
class FakePanels final : public FilePanels {
public:
    std::optional<std::filesystem::path> choice; ///< The choice of the user; nullopt cancels.
    std::vector<std::string> proposedNames;
    std::vector<std::filesystem::path> folders; ///< The start folders.
    int asked = 0;
    bool staysOpen = false; ///< The user does not answer.
    Answer open; ///< The callback of the open panel.

    ~FakePanels() override
    {
        if (open)
            std::exchange(open, nullptr)(std::nullopt);
    }

    void openMovie(Answer answer) override { ask(std::move(answer)); }
    void openImage(Answer answer) override { ask(std::move(answer)); }
    void saveMovie(const Saved& saved, Answer answer) override
    {
        proposedNames.push_back(saved.name);
        folders.push_back(saved.folder);
        ask(std::move(answer));
    }

private:
    void ask(Answer answer)
    {
        ++asked;
        if (staysOpen)
            open = std::move(answer);
        else
            answer(choice);
    }
};

/// Keys that the test presses.
class FakeShortcutKeys final : public ShortcutKeys {
public:
    std::vector<Combination> combinations; ///< The registered combinations.
    Support offered = Support::ours;

    std::set<std::uint32_t> refused; ///< Combinations that another program uses.

    void press(std::uint32_t id) { emit pressed(id); }

    void listen(const std::vector<Combination>& wanted) override { combinations = wanted; }
    Support support() const override { return offered; }
    bool hears(std::uint32_t id) const override
    {
        return !refused.contains(id) && std::ranges::contains(combinations, id, &Combination::id);
    }
};

/// Answers with the region set by the test.
class FakeRegionPicker final : public RegionPicker {
public:
    bool hasScreen = true;
    std::optional<Rect> region; ///< nullopt cancels.
    std::vector<CaptureSource> asked;

    bool pick(const CaptureSource& source, Done done) override
    {
        asked.push_back(source);
        if (hasScreen)
            done(region);
        return hasScreen;
    }
};

class FakeWorkspace final : public Workspace {
public:
    std::vector<std::filesystem::path> revealed;
    std::vector<std::filesystem::path> opened; ///< Folders.
    std::vector<std::filesystem::path> openedFiles;
    std::vector<std::string> addresses; ///< Opened web pages.
    bool hasSettings = true; ///< Whether the desktop has settings of its own.

    void reveal(const std::filesystem::path& file) override { revealed.push_back(file); }
    void openFolder(const std::filesystem::path& folder) override { opened.push_back(folder); }
    void openFile(const std::filesystem::path& file) override { openedFiles.push_back(file); }
    void openAddress(const std::string& address) override { addresses.push_back(address); }
    bool openSettings(SettingsPage) override { return hasSettings; }
};

class FakePasteboard final : public Pasteboard {
public:
    std::string text;
    bool refuses = false; ///< Like Wayland while another program has the keyboard.

    void setText(const std::string& copied, Done done) override
    {
        if (!refuses)
            text = copied;
        done(!refuses);
    }
};

/// An empty keychain.
inline std::string noSecret(std::string_view, Keychain::Interaction, const std::stop_token&)
{
    throw captureError("No hay llavero.");
}

/// A keychain with one secret, which the test may lock.
struct FakeKeychain {
    std::string secret;
    bool isLocked = false; ///< Only a prompt unlocks it.
    int asked = 0; ///< The number of prompts.
    std::mutex mutex; ///< Guards the members: worker threads use them.

    std::string load(Keychain::Interaction interaction)
    {
        const std::scoped_lock lock(mutex);
        if (isLocked && interaction == Keychain::Interaction::allowed) {
            ++asked;
            isLocked = false;
        }
        if (isLocked || secret.empty())
            throw captureError(
                "No se ha podido leer la credencial. Desbloquea el llavero Inicio de sesión y pulsa Leer del llavero ("
                + std::string(isLocked ? "2" : "-25300") + ").");
        return secret;
    }
    void save(std::string_view value)
    {
        const std::scoped_lock lock(mutex);
        if (value.find_first_not_of(" \t\r\n") == std::string_view::npos)
            throw captureError(
                "La credencial está vacía. Pulsa Leer del llavero antes de guardar; se conserva la credencial anterior.");
        secret = value;
    }
};

} // namespace orvo::test
