#include "cli/Completion.h"

#include "OrvoVideo/library/ProjectOrder.h"
#include "VideoCore/Uuid.h"
#include "VideoMedia/ExportQuality.h"
#include "cli/TextColumns.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <format>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::cli {

namespace {

using namespace std::string_view_literals;

struct Values {
    /// The name of an option or argument; with its command if the same option of other commands has other values.
    std::string_view of;
    std::vector<std::string_view> values;
};

/// Options and arguments with a fixed set of values.
const auto& choices()
{
    static const std::array all{
        Values{"--sort", {projectOrderTexts.begin(), projectOrderTexts.end()}},
        Values{"--quality", {exportQualityTexts.begin(), exportQualityTexts.end()}},
        Values{"text --format", {"txt", "md"}},
        Values{"--format", {"srt", "vtt"}},
        Values{"--language", {"es-ES", "en-US"}},
        Values{"--kind", {"silence", "filler", "zoom"}},
        Values{"--cues", {"words", "phrases"}},
        Values{"--subtitles", {"words", "phrases", "none"}},
        Values{"--height", {"720", "1080", "1440", "2160"}},
        Values{"--fps", {"24", "25", "30", "50", "60"}},
        Values{"CAMPO",
            {"title", "cameraVisible", "cameraX", "cameraY", "cameraWidth", "pointerHighlight", "clickHalo",
                "noiseReduction", "normalizeVoice", "sharpen", "fade", "volume.microphone", "volume.system", "volume.screen",
                "volume.clip"}},
    };
    return all;
}

std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

/// The candidates for one word.
class Candidates {
public:
    explicit Candidates(std::string word)
        : m_word(std::move(word))
    {
    }

    void add(std::string_view candidate, std::string_view meaning = {})
    {
        // Identifiers are not case-sensitive.
        const auto isSame = [](unsigned char a, unsigned char b) { return std::toupper(a) == std::toupper(b); };
        if (candidate.size() < m_word.size() || !std::ranges::equal(candidate.substr(0, m_word.size()), m_word, isSame))
            return;
        m_text += candidate;
        if (!meaning.empty())
            m_text += std::format("\t{}", printable(meaning));
        m_text += '\n';
    }
    void leaveToShell(std::string_view what) { m_text += std::format(":{}\n", what); }

    const std::string& word() const { return m_word; }
    std::string take() { return std::move(m_text); }

private:
    std::string m_word;
    std::string m_text;
};

/// A partial command line.
class Line {
public:
    Line(const CLI::App& app, Library& library, std::span<const std::string> words)
        : m_app(app)
        , m_library(library)
        , m_candidates(words.empty() ? std::string() : words.back())
    {
        for (const auto& word : words.first(words.empty() ? 0 : words.size() - 1))
            read(word);
    }

    std::string complete()
    {
        if (m_awaited)
            addValues(*m_awaited);
        else if (m_candidates.word().starts_with('-'))
            addOptions();
        else if (!m_command)
            addCommands();
        else if (const auto* argument = argumentAt(m_arguments))
            addValues(*argument);
        return m_candidates.take();
    }

private:
    void read(const std::string& word)
    {
        if (std::exchange(m_awaited, nullptr))
            return;
        if (word.starts_with('-')) {
            const auto* option = word.contains('=') ? nullptr : find(word);
            if (option && option->get_expected_max() > 0)
                m_awaited = option;
        } else if (m_command) {
            ++m_arguments;
        } else {
            const auto commands = m_app.get_subcommands({});
            const auto found = std::ranges::find(commands, word, &CLI::App::get_name);
            m_command = found == commands.end() ? nullptr : *found;
        }
    }

    const CLI::Option* find(const std::string& name) const
    {
        for (const CLI::App* owner : {m_command, &m_app}) {
            if (const auto* option = owner ? owner->get_option_no_throw(name) : nullptr)
                return option;
        }
        return nullptr;
    }

    const CLI::Option* argumentAt(std::size_t index) const
    {
        const CLI::Option* last = nullptr;
        for (const CLI::Option* option : m_command->get_options()) {
            if (!option->get_positional())
                continue;
            last = option;
            if (index-- == 0)
                return option;
        }
        return last && last->get_expected_max() > 1 ? last : nullptr; // The last argument may take several values.
    }

    void addCommands()
    {
        for (const CLI::App* command : m_app.get_subcommands({}))
            m_candidates.add(command->get_name(), firstLine(command->get_description()));
    }

    void addOptions()
    {
        for (const CLI::App* owner : {m_command, &m_app}) {
            for (const CLI::Option* option : owner ? owner->get_options() : std::vector<const CLI::Option*>()) {
                for (const auto& name : option->get_lnames()) {
                    const bool isAnswered = m_command && owner == &m_app && (name == "version" || name == "help");
                    if (!isAnswered)
                        m_candidates.add("--" + name, firstLine(option->get_description()));
                }
            }
        }
    }

    void addValues(const CLI::Option& option)
    {
        const std::string name = option.get_positional() ? option.get_name(true, false) : "--" + option.get_lnames().front();
        const std::string type = option.get_positional() ? name : option.get_type_name();
        auto choice = std::ranges::find(choices(), m_command ? m_command->get_name() + " " + name : name, &Values::of);
        if (choice == choices().end())
            choice = std::ranges::find(choices(), name, &Values::of);
        if (choice != choices().end()) {
            for (const auto value : choice->values)
                m_candidates.add(value);
        } else if (name == "ID" || name == "--append") {
            addProjects();
        } else if (type == "ARCHIVO") {
            m_candidates.leaveToShell("files");
        } else if (type == "CARPETA") {
            m_candidates.leaveToShell("folders");
        }
    }

    void addProjects()
    {
        try {
            for (const auto& project : m_library.list())
                m_candidates.add(project.id.text(), project.title);
        } catch (const std::exception&) {
            // Completion ignores errors.
        }
    }

    const CLI::App& m_app;
    Library& m_library;
    Candidates m_candidates;
    const CLI::App* m_command = nullptr;
    const CLI::Option* m_awaited = nullptr; ///< The option whose value comes next.
    std::size_t m_arguments = 0; ///< Arguments of the command before the word.
};

} // namespace

std::string completions(const CLI::App& app, Library& library, std::span<const std::string> words)
{
    return Line(app, library, words).complete();
}

} // namespace orvo::cli
