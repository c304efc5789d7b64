#include "OrvoVideo/equipment/Equipment.h"

#include "OrvoVideo/capture/audio/AudioInputs.h"
#include "OrvoVideo/equipment/InstallCommand.h"
#include "OrvoVideo/transcription/SpeechModels.h"
#include "Platform/desktop/DesktopOffers.h"
#include "Platform/desktop/WindowSystem.h"
#include "VideoCore/Error.h"
#include "VideoCore/ExtensionMark.h"
#include "VideoMedia/ProcessRunner.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <format>
#include <ranges>
#include <unistd.h>

namespace orvo {

namespace {

using Kind = EquipmentItem::Kind;
using State = EquipmentItem::State;

EquipmentItem ffmpegItem()
{
    EquipmentItem item{.kind = Kind::ffmpeg, .text = "FFmpeg está instalado."};
    const auto program = ProcessRunner::ffmpeg();
    if (!program) {
        item.text = "FFmpeg no está instalado: sin él no se puede importar, transcribir ni exportar.";
    } else {
        try {
            ProcessRunner::requireUsable(*program);
            return item;
        } catch (const std::exception& error) {
            item.text = describe(error);
        }
    }
    item.state = State::missing;
    item.command = installCommand(Package::ffmpeg);
    item.advice = item.command.empty() ? "Instala FFmpeg 7 o posterior con los paquetes de tu sistema."
                                       : "Abre un terminal, pega esta orden y pulsa Intro.";
    return item;
}

EquipmentItem modelItem(std::string_view name)
{
    EquipmentItem item{.kind = Kind::speechModel};
    const SpeechModel* model = SpeechModels::inCatalogue(name);
    const std::string size = model ? std::format("{} MB", (model->size + 500'000) / 1'000'000) : std::string();
    if (SpeechModels::installed(name)) {
        item.text = model ? std::format("El modelo «{}» está listo ({}).", name, size)
                          : std::format("Tu modelo «{}» está listo.", name);
        return item;
    }
    item.state = State::limited;
    item.text = model ? std::format("El modelo «{}» aún no está en este equipo ({}).", name, size)
                      : std::format("No se encuentra tu modelo «{}».", name);
    item.advice = model ? "Se descarga solo en la primera transcripción, o ahora."
                        : std::format("Ponlo en {} o elige otro en «Ajustes».", SpeechModels::folder().string());
    return item;
}

EquipmentItem microphoneItem()
{
    EquipmentItem item{.kind = Kind::microphone};
    try {
        const auto devices = AudioInputs::list().microphones;
        if (!devices.empty()) {
            const auto usual = std::ranges::find(devices, true, &AudioDevice::isDefault);
            item.text = std::format("{}.", (usual == devices.end() ? devices.front() : *usual).label);
            item.advice = "Habla: el nivel tiene que moverse.";
            return item;
        }
        item.text = "No hay ningún micrófono: se graba sin él.";
        item.advice = "Conecta uno, o actívalo en los ajustes de sonido de tu escritorio.";
    } catch (const Error&) {
        item.text = "No responde ningún servidor de sonido (PipeWire o PulseAudio).";
        item.advice = "Inicia la sesión de nuevo. Si sigue igual, instala «pipewire-pulse».";
    }
    item.state = State::limited;
    return item;
}

EquipmentItem screenItem(WindowSystem system, const DesktopOffers& offers)
{
    EquipmentItem item{.kind = Kind::screen, .text = "X11: se graba la pantalla sin pedir permiso."};
    if (system == WindowSystem::none) {
        item.state = State::missing;
        item.text = "En esta sesión no hay ninguna pantalla.";
        item.advice = "Inicia una sesión gráfica para grabar.";
    } else if (system == WindowSystem::wayland && offers.screenCast > 0) {
        item.text = "Wayland: tu escritorio pregunta qué se puede grabar.";
    } else if (system == WindowSystem::wayland) {
        item.state = State::missing;
        item.text = "Wayland: falta el portal con el que tu escritorio comparte la pantalla.";
        item.command = installCommand(Package::portal);
        item.advice = "Instala el portal de tu escritorio e inicia la sesión de nuevo.";
    }
    return item;
}

EquipmentItem shortcutsItem(WindowSystem system, const DesktopOffers& offers)
{
    EquipmentItem item{.kind = Kind::shortcuts, .text = "Funcionan en cualquier aplicación."};
    if (system == WindowSystem::none) {
        item.state = State::missing;
        item.text = "Sin pantalla no hay atajos.";
        item.advice = "Inicia una sesión gráfica para usarlos.";
    } else if (system == WindowSystem::wayland && offers.globalShortcuts > 0) {
        item.text = "Los confirma y los cambia tu escritorio.";
    } else if (system == WindowSystem::wayland) {
        item.state = State::limited;
        item.text = "Este escritorio no ofrece atajos globales.";
        item.advice = "Termina la grabación desde el icono de la bandeja o desde la ventana.";
    }
    return item;
}

EquipmentItem trayItem(const DesktopOffers& offers)
{
    EquipmentItem item{.kind = Kind::tray, .text = "El icono de Orvo Video está en la bandeja mientras grabas."};
    if (!offers.hasTray) {
        item.state = State::limited;
        item.text = "Este escritorio no enseña iconos de bandeja.";
        item.command = installCommand(Package::tray);
        item.advice = "No hace falta: los atajos y la barra de grabación hacen lo mismo. En GNOME la añade una extensión.";
    }
    return item;
}

EquipmentItem keyringItem(const DesktopOffers& offers)
{
    EquipmentItem item{.kind = Kind::keyring, .text = "La credencial de publicación se guarda cifrada."};
    if (!offers.hasKeyring) {
        item.state = State::limited;
        item.text = "No hay ningún llavero: la credencial de publicación no se puede guardar.";
        item.command = installCommand(Package::keyring);
        item.advice = "Solo hace falta para publicar. Instálalo e inicia la sesión de nuevo.";
    }
    return item;
}

/// The display names of the installed browsers that can run the extension.
std::vector<std::string_view> browsersHere()
{
    struct Browser {
        std::string_view program;
        std::string_view title;
    };
    constexpr std::array known{Browser{"google-chrome", "Chrome"}, Browser{"google-chrome-stable", "Chrome"},
        Browser{"chromium", "Chromium"}, Browser{"chromium-browser", "Chromium"}, Browser{"brave-browser", "Brave"},
        Browser{"brave", "Brave"}};
    const char* path = std::getenv("PATH");
    std::vector<std::string_view> found;
    for (const auto& [program, title] : known) {
        const bool isHere =
            std::ranges::any_of(std::string_view(path ? path : "/usr/bin") | std::views::split(':'), [&](const auto folder) {
                const auto file = std::filesystem::path(std::string_view(folder)) / program;
                return ::access(file.c_str(), X_OK) == 0;
            });
        if (isHere && !std::ranges::contains(found, title))
            found.push_back(title);
    }
    return found;
}

EquipmentItem browserItem()
{
    EquipmentItem item{.kind = Kind::browser, .state = State::limited};
    const auto browsers = browsersHere();
    if (browsers.empty()) {
        item.text = "No hay Chrome, Chromium ni Brave: no se pueden grabar pestañas.";
        item.command = installCommand(Package::browser);
        item.advice = "Solo hace falta para grabar una pestaña con su sonido.";
        return item;
    }
    std::string names(browsers.front());
    for (const auto& name : browsers | std::views::drop(1))
        names += std::format(", {}", name);
    if (ExtensionMark::exists()) {
        item.state = State::good;
        item.text = std::format("{}: la extensión está instalada.", names);
    } else {
        item.text = std::format("{}: la extensión aún no se ha instalado.", names);
        item.advice = "Solo hace falta para grabar una pestaña con su sonido.";
    }
    return item;
}

} // namespace

std::string_view EquipmentItem::name(Kind kind)
{
    constexpr std::array<std::string_view, 8> names{
        "ffmpeg", "speechModel", "microphone", "screen", "shortcuts", "tray", "keyring", "browser"};
    return names[static_cast<std::size_t>(kind)];
}

std::string_view EquipmentItem::title(Kind kind)
{
    constexpr std::array<std::string_view, 8> titles{
        "FFmpeg", "Modelo de voz", "Micrófono", "Pantalla", "Atajos globales", "Bandeja", "Llavero", "Navegador"};
    return titles[static_cast<std::size_t>(kind)];
}

std::string_view EquipmentItem::name(State state)
{
    constexpr std::array<std::string_view, 3> names{"good", "limited", "missing"};
    return names[static_cast<std::size_t>(state)];
}

std::vector<EquipmentItem> checkEquipment(std::string_view speechModel, const std::stop_token& stop)
{
    const auto goOn = [&stop] {
        if (stop.stop_requested())
            throw Cancelled();
    };
    const auto system = windowSystem();
    std::vector<EquipmentItem> items;
    items.push_back(ffmpegItem());
    items.push_back(modelItem(speechModel.empty() ? SpeechModels::usual : speechModel));
    goOn();
    items.push_back(microphoneItem());
    goOn();
    const auto offers = DesktopOffers::look();
    items.push_back(screenItem(system, offers));
    items.push_back(shortcutsItem(system, offers));
    items.push_back(trayItem(offers));
    items.push_back(keyringItem(offers));
    items.push_back(browserItem());
    goOn();
    return items;
}

} // namespace orvo
