#include "OrvoVideo/capture/RecordingSession.h"
#include "OrvoVideo/capture/screen/CaptureSources.h"
#include "Platform/desktop/WindowSystem.h"
#include "cli/ArgumentValues.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ExitStatus.h"
#include "cli/Interruption.h"
#include "cli/RecordingLine.h"
#include "cli/ShownValues.h"
#include "cli/Terminal.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <format>
#include <mutex>
#include <optional>
#include <ranges>

namespace orvo::cli {

namespace {

using Terminal::Table;
using Terminal::Tone;

struct SourcesArguments { };

/// The sources of a part of the system; empty if that part is missing.
template <typename List> auto offered(List list) -> std::optional<decltype(list())>
{
    try {
        return list();
    } catch (const Error&) {
        return std::nullopt;
    }
}

/// Throws `captureError` on a Wayland desktop, because an X server beside it has an empty root window.
void requireX11()
{
    if (windowSystem() == WindowSystem::wayland)
        throw captureError("Desde la terminal solo se graban escritorios X11, y este es Wayland. Graba con la aplicación, o "
                           "entra en una sesión X11.");
}

JsonValue::Array described(const std::vector<CaptureSource>& sources)
{
    return sources | std::views::transform([](const CaptureSource& source) {
        return JsonValue(JsonValue::Object{{"id", source.id}, {"label", source.label}, {"x", source.rect.x},
            {"y", source.rect.y}, {"width", source.rect.width}, {"height", source.rect.height}});
    }) | std::ranges::to<JsonValue::Array>();
}

JsonValue::Array described(const std::vector<AudioDevice>& devices)
{
    return devices | std::views::transform([](const AudioDevice& device) {
        return JsonValue(JsonValue::Object{{"id", device.id}, {"label", device.label}, {"isDefault", device.isDefault}});
    }) | std::ranges::to<JsonValue::Array>();
}

JsonValue::Array described(const std::vector<CameraDevice>& devices)
{
    return devices | std::views::transform([](const CameraDevice& device) {
        return JsonValue(JsonValue::Object{{"id", device.id}, {"label", device.label}});
    }) | std::ranges::to<JsonValue::Array>();
}

struct Listed {
    std::string id;
    std::string label;
};

template <typename Devices> std::vector<Listed> listed(const Devices& devices)
{
    std::vector<Listed> result;
    result.reserve(devices.size());
    for (const auto& device : devices)
        result.push_back({device.id, device.label});
    return result;
}

std::string section(std::string_view title, const std::vector<Listed>& items)
{
    if (items.empty())
        return {};
    Table table({{}, {.shrinks = true}});
    for (const auto& item : items)
        table.add({printable(item.id), printable(item.label)});
    return Terminal::toned(Tone::strong, title) + "\n" + table.text("  ");
}

void sources(Session& session, const SourcesArguments& /*arguments*/)
{
    const auto inX11 = [](auto list) {
        return offered([list] {
            requireX11();
            return list();
        });
    };
    const auto displays = inX11([] { return CaptureSources::displays(); });
    const auto windows = inX11([] { return CaptureSources::windows(); });
    const auto audio = offered(AudioInputs::list).value_or(AudioInputs::Devices{});
    const auto cameras = offered(Cameras::list).value_or(std::vector<CameraDevice>());
    if (session.json()) {
        const std::vector<CaptureSource> none;
        return session.answer(JsonValue::Object{{"displays", described(displays.value_or(none))},
            {"windows", described(windows.value_or(none))}, {"microphones", described(audio.microphones)},
            {"outputs", described(audio.outputs)}, {"cameras", described(cameras)}});
    }
    if (!displays)
        session.note(windowSystem() == WindowSystem::wayland
                ? "«orvo record» solo graba escritorios X11, y este es Wayland: graba con la aplicación."
                : "No hay una pantalla que «orvo record» pueda grabar: necesita un servidor X11.");
    std::string text;
    if (displays)
        text += section("Pantallas", listed(*displays));
    if (windows)
        text += section("Ventanas", listed(*windows));
    text += section("Micrófonos", listed(audio.microphones)) + section("Sonido del sistema", listed(audio.outputs))
        + section("Cámaras", listed(cameras));
    session.print(text);
}

struct RecordArguments {
    std::string source;
    std::string region;
    std::string seconds;
    std::string title;
    std::string height;
    std::string fps;
    std::string microphone;
    bool noMicrophone = false;
    bool noSystemAudio = false;
    bool camera = false;
};

Rect regionOf(const std::string& text)
{
    constexpr double minSide = 20;
    std::array<double, 4> numbers{};
    auto number = numbers.begin();
    for (const auto part : text | std::views::split(',')) {
        const auto value = parseNumber(std::string_view(part));
        if (!value || number == numbers.end())
            throw UsageError("--region necesita cuatro números: X,Y,ANCHO,ALTO.");
        *number++ = *value;
    }
    if (number != numbers.end())
        throw UsageError("--region necesita cuatro números: X,Y,ANCHO,ALTO.");
    const Rect region{.x = numbers[0], .y = numbers[1], .width = numbers[2], .height = numbers[3]};
    if (region.width <= minSide || region.height <= minSide)
        throw UsageError("La región ha de medir más de 20 píxeles de ancho y de alto.");
    return region;
}

bool overlaps(const Rect& a, const Rect& b)
{
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

/// The source with this identifier; by default the first display, or the one that contains the region.
CaptureSource chosenSource(const std::string& id, const std::optional<Rect>& region)
{
    requireX11();
    const auto displays = CaptureSources::displays();
    if (id.starts_with('w')) {
        if (region)
            throw UsageError("Una región es parte de una pantalla, no de una ventana.");
        for (const auto& window : CaptureSources::windows()) {
            if (window.id == id)
                return window;
        }
        throw captureError("Selecciona una pantalla o ventana disponible.");
    }
    for (const auto& display : displays) {
        if (id.empty() ? !region || overlaps(display.rect, *region) : display.id == id) {
            if (region && !overlaps(display.rect, *region))
                break;
            return display;
        }
    }
    throw captureError(
        region ? "No se encuentra la pantalla seleccionada." : "Selecciona una pantalla o ventana disponible.");
}

RecordingSession::Plan planOf(const RecordArguments& arguments)
{
    RecordingSession::Plan plan;
    auto& options = plan.options;
    if (!arguments.region.empty())
        options.region = regionOf(arguments.region);
    if (!arguments.height.empty())
        options.height = integerArgument("--height", arguments.height, {2, 8192});
    if (!arguments.fps.empty())
        options.fps = integerArgument("--fps", arguments.fps, {1, 120});
    options.microphone = !arguments.noMicrophone;
    options.microphoneDevice = arguments.microphone;
    options.systemAudio = !arguments.noSystemAudio;
    options.camera = arguments.camera;
    plan.title = arguments.title.empty() ? RecordingSession::defaultTitle() : textArgument("--title", arguments.title);
    plan.source = chosenSource(arguments.source, options.region);
    return plan;
}

/// Waits for the end of the recording: its duration, a signal, or a failure.
class End {
public:
    void failed(const std::string& text)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_failure = text;
        }
        m_changed.notify_all();
    }

    /// Returns the failure, if any.
    std::optional<std::string> wait(const std::optional<double>& seconds, const std::stop_token& stop)
    {
        std::unique_lock lock(m_mutex);
        const auto isOver = [this] { return m_failure.has_value(); };
        if (seconds)
            m_changed.wait_for(lock, stop, std::chrono::duration<double>(*seconds), isOver);
        else
            m_changed.wait(lock, stop, isOver);
        return m_failure;
    }

private:
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::optional<std::string> m_failure;
};

void record(Session& session, const RecordArguments& arguments)
{
    constexpr double maxSeconds = 24 * 60 * 60;
    std::optional<double> seconds;
    if (!arguments.seconds.empty())
        seconds = numberArgument("--seconds", arguments.seconds, {0.1, maxSeconds});
    const auto plan = planOf(arguments);
    const auto& store = session.library().store();

    const Interruption interruption; // Before any thread starts.
    End end;
    std::optional<std::string> failure;
    RecordingSession::Result result;
    {
        CaptureEngine engine(PointerMonitor::create());
        RecordingSession::Listener listener{.onError = [&](const std::string& text) { end.failed(text); },
            .onDevice =
                [&](TrackKind kind, bool isAway) {
                    // After the status line.
                    const char* before = Terminal::isTerminal(Terminal::Stream::error) ? "\n" : "";
                    if (isAway)
                        session.note(before + RecordingSession::awayText(kind));
                }};
        RecordingSession recording(store, engine, plan, std::move(listener));
        {
            const RecordingLine line(plan.source.label, recording, engine);
            failure = end.wait(seconds, interruption.token());
        }
        result = recording.stop();
    }
    if (!failure)
        failure = result.error;

    const VideoProject& project = result.project;
    if (session.json()) {
        session.answer(JsonValue::Object{{"id", project.id}, {"title", project.title}, {"state", project.state},
            {"duration", project.duration}, {"width", project.width}, {"height", project.height}});
    } else {
        session.print(std::format("Grabado {}: {}, {}×{}.\nIdentificador: {}\n", inQuotes(shownTitle(project.title)),
            fineLength(project.duration), project.width, project.height, project.id.text()));
    }
    if (failure)
        throw captureError(*failure);
}

} // namespace

void addSourcesCommand(CLI::App& app, Session& session)
{
    addCommand<SourcesArguments>(
        app, session, {"sources", "Grabar", "Enumera lo que se puede grabar: pantallas, ventanas, micrófonos y cámaras."},
        [](Command&, SourcesArguments&) { }, sources);
}

void addRecordCommand(CLI::App& app, Session& session)
{
    addCommand<RecordArguments>(
        app, session,
        {"record", "Grabar",
            "Graba la pantalla con voz y sonido.\nTermina con Ctrl+C, o sola con --seconds. Lo grabado se guarda mientras "
            "se "
            "graba: si algo se interrumpe, «orvo recover» lo recupera."},
        [](Command& command, RecordArguments& arguments) {
            command.option("--source", "ID", arguments.source,
                "Pantalla o ventana, como las llama «orvo sources»; la primera pantalla si no se indica.");
            command.option("--region", "X,Y,ANCHO,ALTO", arguments.region, "Solo esta parte de la pantalla, en píxeles.");
            command.option("--seconds", "N", arguments.seconds, "Termina después de tantos segundos.");
            command.flag("--no-microphone", arguments.noMicrophone, "Sin micrófono.");
            command.flag("--no-system-audio", arguments.noSystemAudio, "Sin lo que suena en el ordenador.");
            command.flag("--camera", arguments.camera, "También la cámara.");
            command.option("--microphone", "ID", arguments.microphone, "Este micrófono en lugar del predeterminado.");
            command.option("--title", "TÍTULO", arguments.title, "Título; con la fecha si no se indica.");
            command.option("--height", "N", arguments.height, "Altura máxima en píxeles; 1080 si no se indica.");
            command.option("--fps", "N", arguments.fps, "Fotogramas por segundo como mucho; 30 si no se indica.");
        },
        record);
}

} // namespace orvo::cli
