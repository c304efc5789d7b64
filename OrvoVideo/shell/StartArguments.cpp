#include "OrvoVideo/shell/StartArguments.h"

#include <algorithm>
#include <array>
#include <format>

namespace orvo {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view help = R"(Graba, edita, exporta y publica vídeos que explican algo en la pantalla.

Uso: orvo-video [opciones] [VÍDEO | PROYECTO]

Argumentos
  VÍDEO          Un vídeo que importar en la biblioteca; el original no cambia.
  PROYECTO       El identificador de un proyecto que abrir, como lo dice «orvo list».

Opciones
  -h, --help     Muestra esta ayuda.
  -V, --version  Muestra la versión.
  --             Lo que sigue no son opciones, aunque empiece por un guion.

Si Orvo Video ya está abierto, pasa al frente y abre lo que se le pide. La variable
ORVO_LIBRARY nombra otra biblioteca que la habitual. «orvo» hace lo mismo desde el
terminal: orvo --help.
)";

/// Qt's options with a value in the next argument.
constexpr std::array withValue{"display"sv, "geometry"sv, "icon"sv, "name"sv, "platform"sv, "platformpluginpath"sv,
    "platformtheme"sv, "plugin"sv, "qwindowgeometry"sv, "qwindowicon"sv, "qwindowtitle"sv, "session"sv, "style"sv,
    "stylesheet"sv, "title"sv};
constexpr std::array alone{"dograb"sv, "nograb"sv, "reverse"sv, "sync"sv, "widgetcount"sv};

} // namespace

StartArguments StartArguments::read(const std::vector<std::string_view>& words)
{
    StartArguments result;
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (*word == "--") {
            result.toOpen.insert(result.toOpen.end(), word + 1, words.end());
            break;
        }
        if (!word->starts_with('-')) {
            result.toOpen.emplace_back(*word);
            continue;
        }
        if (*word == "-h" || *word == "--help")
            return {.kind = Kind::answer, .text = std::string(help)};
        if (*word == "-V" || *word == "--version")
            return {.kind = Kind::answer, .text = "Orvo Video " ORVO_VERSION "\n"};
        const auto name =
            word->substr(word->find_first_not_of('-') == std::string_view::npos ? 0 : word->find_first_not_of('-'));
        const auto key = name.substr(0, name.find('='));
        if (std::ranges::contains(withValue, key)) {
            result.choosesPlatform |= key == "platform" || key == "display";
            if (key == name && word + 1 != words.end())
                ++word;
        } else if (!std::ranges::contains(alone, key)) {
            return {.kind = Kind::refuse,
                .text = std::format("orvo-video: No existe la opción «{}».\nUso: orvo-video [opciones] [VÍDEO | PROYECTO]\n"
                                    "Más: orvo-video --help\n",
                    word->substr(0, word->find('=')))};
        }
    }
    return result;
}

} // namespace orvo
