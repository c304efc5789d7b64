#include "OrvoVideo/ui/Commands.h"

#include <QKeySequence>
#include <QStringList>
#include <QVariantMap>
#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace orvo {

namespace {

using Scope = Commands::Scope;

/// Keys are in Qt's portable form, separated by blanks.
struct Command {
    Commands::Id id;
    Scope scope;
    const char* keys;
    const char* menuText = "";
    const char* title = "";
    /// Keys that the sheet does not show.
    const char* otherKeys = "";
};

constexpr Command table[]{
    {Commands::NewRecording, Scope::Window, "Ctrl+R", "&Nueva grabación…", "Nueva grabación"},
    {Commands::ImportVideo, Scope::Window, "Ctrl+I", "&Importar vídeo…", "Importar"},
    {Commands::AppendVideo, Scope::Window, "Ctrl+Shift+I", "Aña&dir vídeo a este proyecto…", "Importar un vídeo al final"},
    {Commands::ExportVideo, Scope::Window, "Ctrl+E", "E&xportar…", "Exportar"},
    {Commands::OpenSpace, Scope::Window, "", "¿&Qué ocupa espacio?"},
    {Commands::OpenSettings, Scope::Window, "Ctrl+,", "A&justes…", "Ajustes"},
    {Commands::Quit, Scope::Window, "Ctrl+Q", "&Salir"},

    {Commands::Undo, Scope::Window, "Ctrl+Z", "&Deshacer", "Deshacer"},
    {Commands::Redo, Scope::Window, "Ctrl+Shift+Z", "&Rehacer", "Rehacer"},
    {Commands::ShowHistory, Scope::Window, "Ctrl+H", "&Historial…", "Historial"},
    {Commands::StartSelection, Scope::Editor, "I", "&Inicio de la selección aquí", "Inicio aquí"},
    {Commands::EndSelection, Scope::Editor, "O", "&Final de la selección aquí", "Final aquí"},
    {Commands::CutSelection, Scope::Editor, "X", "&Cortar selección", "Cortar selección"},
    {Commands::AddZoom, Scope::Editor, "Z", "Añadir &zoom en este punto"},
    {Commands::ShowKeys, Scope::Editor, "F1", "&Todas las teclas"},

    {Commands::ToggleLibrary, Scope::Window, "Ctrl+B", "&Biblioteca", "Mostrar la biblioteca"},
    {Commands::ToggleInspector, Scope::Window, "Ctrl+Shift+B", "&Inspector", "Mostrar el inspector"},
    {Commands::SystemAppearance, Scope::Window, "", "Aspecto del &sistema"},
    {Commands::DarkAppearance, Scope::Window, "", "Aspecto &oscuro"},
    {Commands::LightAppearance, Scope::Window, "", "Aspecto &claro"},

    {Commands::OpenGuide, Scope::Window, "", "&Guía"},
    {Commands::CheckEquipment, Scope::Window, "", "&Comprobar el equipo…"},
    {Commands::RevealCrashLog, Scope::Window, "", "&Registro del último cierre inesperado"},
    {Commands::OpenAbout, Scope::Window, "", "&Acerca de Orvo Video"},

    {Commands::TogglePlaying, Scope::Editor, "Space", "", "Reproducir"},
    {Commands::PlayForward, Scope::Editor, "L"},
    {Commands::PlayBackward, Scope::Editor, "J"},
    {Commands::StopPlaying, Scope::Editor, "K"},
    {Commands::PreviousFrame, Scope::Editor, "Left"},
    {Commands::NextFrame, Scope::Editor, "Right"},
    {Commands::PreviousSecond, Scope::Editor, "Shift+Left"},
    {Commands::NextSecond, Scope::Editor, "Shift+Right"},
    {Commands::GoToStart, Scope::Editor, "Home"},
    {Commands::GoToEnd, Scope::Editor, "End"},
    {Commands::PreviousEdge, Scope::Editor, "Up"},
    {Commands::NextEdge, Scope::Editor, "Down"},
    {Commands::WriteText, Scope::Editor, "T"},
    // Some keyboards need Shift for the plus.
    {Commands::ZoomIn, Scope::Editor, "+", "", "Ampliar", "Shift++"},
    {Commands::ZoomOut, Scope::Editor, "-", "", "Reducir", "Shift+-"},
    {Commands::ShowAll, Scope::Editor, "0", "", "Ver todo"},
    {Commands::ChoosePrevious, Scope::Editor, "Ctrl+Left"},
    {Commands::ChooseNext, Scope::Editor, "Ctrl+Right"},
    {Commands::NudgeBack, Scope::Editor, "Alt+Left"},
    {Commands::NudgeForward, Scope::Editor, "Alt+Right"},
    {Commands::NudgeEndBack, Scope::Editor, "Alt+Shift+Left"},
    {Commands::NudgeEndForward, Scope::Editor, "Alt+Shift+Right"},
    {Commands::RestoreChosen, Scope::Editor, "Return", "", "", "Enter"},
    {Commands::RemoveChosen, Scope::Editor, "Del", "", "", "Backspace"},
    {Commands::LetGo, Scope::Editor, "Esc"},
    {Commands::ShowPreviewAlone, Scope::Editor, "F", "", "Ver solo la imagen"},
    {Commands::Search, Scope::Editor, "Ctrl+F"},
    {Commands::NextMatch, Scope::Editor, "F3", "", "Coincidencia siguiente"},
    {Commands::PreviousMatch, Scope::Editor, "Shift+F3", "", "Coincidencia anterior"},

    {Commands::MoveCaret, Scope::Text, "Left Right Up Down"},
    {Commands::MarkWords, Scope::Text, "Shift+Left Shift+Right"},
    {Commands::ToggleWords, Scope::Text, "Del X", "", "Cortar", "Backspace"},
    {Commands::CorrectWord, Scope::Text, "Return F2", "", "Corregir", "Enter"},
    {Commands::CopyWords, Scope::Text, "Ctrl+C", "", "Copiar", "Ctrl+Ins Copy"},
    {Commands::UnmarkWords, Scope::Text, "Esc"},

    {Commands::RenameProject, Scope::Library, "F2", "Renombrar"},
    {Commands::DuplicateProjects, Scope::Library, "Ctrl+D", "Duplicar"},
    {Commands::TrashProjects, Scope::Library, "Del", "Mover a la papelera"},
    {Commands::MarkAllProjects, Scope::Library, "Ctrl+A"},

    {Commands::RollNotes, Scope::Notes, "Space", "", "Mover el texto solo"},
    {Commands::ScrollNotesUp, Scope::Notes, "Up"},
    {Commands::ScrollNotesDown, Scope::Notes, "Down"},
    {Commands::PageNotesUp, Scope::Notes, "PgUp"},
    {Commands::PageNotesDown, Scope::Notes, "PgDown"},
    {Commands::SlowNotes, Scope::Notes, "Left", "", "", "-"},
    {Commands::SpeedNotes, Scope::Notes, "Right", "", "", "+"},
};

constexpr const char* playing = "Reproducir";
constexpr const char* moving = "Moverse";
constexpr const char* editing = "Editar";
constexpr const char* text = "Texto";
constexpr const char* view = "Línea de tiempo";
constexpr const char* library = "Biblioteca";
constexpr const char* notes = "Notas";

/// A line of the sheet: the keys of up to two commands, or a gesture, and their effect.
struct Line {
    const char* group;
    std::array<Commands::Id, 2> commands;
    const char* text;
    const char* gesture = "";
};

constexpr Line lines[]{
    {playing, {Commands::TogglePlaying}, "Reproducir o pausar"},
    {playing, {Commands::PlayForward}, "Adelante; otra vez, más rápido"},
    {playing, {Commands::PlayBackward}, "Atrás; otra vez, más rápido"},
    {playing, {Commands::StopPlaying}, "Parar"},
    {moving, {Commands::PreviousFrame, Commands::NextFrame}, "Un fotograma"},
    {moving, {Commands::PreviousSecond, Commands::NextSecond}, "Un segundo"},
    {moving, {Commands::GoToStart, Commands::GoToEnd}, "Principio y final"},
    {moving, {Commands::PreviousEdge, Commands::NextEdge}, "Borde anterior y siguiente"},
    {editing, {Commands::StartSelection, Commands::EndSelection}, "Inicio y final de la selección"},
    {editing, {Commands::CutSelection, Commands::RemoveChosen}, "Cortar la selección"},
    {editing, {Commands::AddZoom}, "Añadir un zoom"},
    {editing, {Commands::WriteText}, "Escribir un texto en pantalla"},
    {editing, {Commands::Undo}, "Deshacer"},
    {editing, {Commands::Redo}, "Rehacer"},
    {editing, {Commands::ShowHistory}, "Historial"},
    {text, {Commands::MoveCaret}, "Palabra y línea; con Ctrl, frase y párrafo"},
    {text, {Commands::MarkWords}, "Marcar palabras; con Ctrl, frases"},
    {text, {Commands::ToggleWords}, "Cortar lo marcado; otra vez, restaurarlo"},
    {text, {Commands::CorrectWord}, "Corregir la palabra; Tab, la siguiente"},
    {text, {Commands::CopyWords}, "Copiar el texto"},
    {text, {Commands::Search, Commands::NextMatch}, "Buscar; el siguiente hallazgo"},
    {view, {Commands::ZoomIn, Commands::ZoomOut}, "Ampliar y reducir"},
    {view, {Commands::ShowAll}, "Ver todo"},
    {view, {Commands::ChoosePrevious, Commands::ChooseNext}, "Marcar el corte, zoom o texto anterior o siguiente"},
    {view, {Commands::NudgeBack, Commands::NudgeForward}, "Mover lo marcado un fotograma"},
    {view, {Commands::NudgeEndBack, Commands::NudgeEndForward}, "Mover su final un fotograma"},
    {view, {Commands::RestoreChosen}, "Restaurar el corte marcado o el del cabezal"},
    {view, {Commands::RemoveChosen}, "Quitar el zoom o texto marcado"},
    {view, {Commands::LetGo}, "Soltar lo marcado"},
    {view, {}, "Sin ajuste a los bordes", "Mayús al arrastrar"},
    {view, {Commands::ShowPreviewAlone}, "Ver solo la imagen"},
    {view, {Commands::ShowKeys}, "Mostrar estas teclas"},
    {library, {Commands::RenameProject}, "Renombrar el proyecto"},
    {library, {Commands::DuplicateProjects}, "Duplicar los marcados"},
    {library, {Commands::TrashProjects}, "Mover los marcados a la papelera"},
    {library, {Commands::MarkAllProjects}, "Marcar todos; con Mayús ↑ ↓, unos cuantos"},
    {notes, {Commands::RollNotes}, "Mover el texto solo o detenerlo"},
    {notes, {Commands::ScrollNotesUp, Commands::ScrollNotesDown}, "Una línea"},
    {notes, {Commands::PageNotesUp, Commands::PageNotesDown}, "Seis líneas"},
    {notes, {Commands::SlowNotes, Commands::SpeedNotes}, "Más despacio y más rápido"},
};

/// Whether two lists of names, separated by blanks, have a name in common.
consteval bool share(std::string_view keys, std::string_view others)
{
    const auto isWhole = [&](std::size_t at, std::size_t length) {
        return (at == 0 || others[at - 1] == ' ') && (at + length == others.size() || others[at + length] == ' ');
    };
    while (!keys.empty() && !others.empty()) {
        const std::string_view key = keys.substr(0, keys.find(' '));
        for (auto at = others.find(key); at != others.npos; at = others.find(key, at + 1)) {
            if (isWhole(at, key.size()))
                return true;
        }
        keys.remove_prefix(std::min(key.size() + 1, keys.size()));
    }
    return false;
}

/// Whether one key can have a command in each scope: the focused item handles its own keys first.
constexpr bool areApart(Scope one, Scope other)
{
    return one != other && (one >= Scope::Text || other >= Scope::Text);
}

consteval bool everyKeyHasOneCommand()
{
    for (const auto* one = std::begin(table); one != std::end(table); ++one) {
        for (const auto* other = one + 1; other != std::end(table); ++other) {
            if (one->id == other->id)
                return false;
            if (areApart(one->scope, other->scope))
                continue;
            for (const auto* keys : {one->keys, one->otherKeys}) {
                if (share(keys, other->keys) || share(keys, other->otherKeys))
                    return false;
            }
        }
    }
    return true;
}
static_assert(everyKeyHasOneCommand());

const Command& rowOf(Commands::Id id)
{
    static constexpr Command none{Commands::None, Scope::Window, ""};
    const auto* const found = std::ranges::find(table, id, &Command::id);
    return found == std::end(table) ? none : *found;
}

QStringList portable(const char* keys)
{
    return QString::fromLatin1(keys).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QKeyCombination combination(const QString& portable)
{
    return QKeySequence::fromString(portable, QKeySequence::PortableText)[0];
}

QString keyName(Qt::Key key)
{
    switch (key) {
    case Qt::Key_Space:
        return QStringLiteral("Espacio");
    case Qt::Key_Left:
        return QStringLiteral("←");
    case Qt::Key_Right:
        return QStringLiteral("→");
    case Qt::Key_Up:
        return QStringLiteral("↑");
    case Qt::Key_Down:
        return QStringLiteral("↓");
    case Qt::Key_Home:
        return QStringLiteral("Inicio");
    case Qt::Key_End:
        return QStringLiteral("Fin");
    case Qt::Key_PageUp:
        return QStringLiteral("Re Pág");
    case Qt::Key_PageDown:
        return QStringLiteral("Av Pág");
    case Qt::Key_Delete:
        return QStringLiteral("Supr");
    case Qt::Key_Return:
        return QStringLiteral("Intro");
    case Qt::Key_Minus:
        return QStringLiteral("−");
    default:
        return QKeySequence(key).toString(QKeySequence::PortableText);
    }
}

bool isArrow(Qt::Key key)
{
    return key >= Qt::Key_Left && key <= Qt::Key_Down;
}

/// The modifiers as Spanish keyboards name them, each followed by `separator`.
QString modifierNames(Qt::KeyboardModifiers modifiers, QLatin1Char separator)
{
    QString names;
    if (modifiers.testFlag(Qt::ControlModifier))
        names += QStringLiteral("Ctrl") + separator;
    if (modifiers.testFlag(Qt::AltModifier))
        names += QStringLiteral("Alt") + separator;
    if (modifiers.testFlag(Qt::ShiftModifier))
        names += QStringLiteral("Mayús") + separator;
    return names;
}

/// Keys as the sheet shows them. Omits the modifiers of a key that equal those of the key before.
QString sheetText(const std::vector<QKeyCombination>& keys)
{
    QStringList shown;
    Qt::KeyboardModifiers previous;
    for (const auto& key : keys) {
        const auto modifiers = key.keyboardModifiers();
        shown.append((modifiers == previous ? QString() : modifierNames(modifiers, QLatin1Char(' '))) + keyName(key.key()));
        previous = modifiers;
    }
    const bool arrows = std::ranges::all_of(keys, [](QKeyCombination key) { return isArrow(key.key()); });
    return shown.join(arrows ? QStringLiteral(" ") : QStringLiteral(" · "));
}

/// A key and its command.
struct Key {
    QKeyCombination combination;
    const Command* command;
};

/// The keys of all commands.
const std::vector<Key>& everyKey()
{
    static const auto all = [] {
        std::vector<Key> keys;
        for (const auto& command : table) {
            for (const auto* names : {command.keys, command.otherKeys}) {
                for (const auto& name : portable(names))
                    keys.push_back({combination(name), &command});
            }
        }
        return keys;
    }();
    return all;
}

bool holdsIn(Scope scope, const Command& command)
{
    return command.scope == scope || (scope == Scope::Editor && command.scope == Scope::Window);
}

} // namespace

QString Commands::menuText(Id command)
{
    return QString::fromUtf8(rowOf(command).menuText);
}

QString Commands::title(Id command)
{
    return QString::fromUtf8(rowOf(command).title);
}

QString Commands::keyText(Id command)
{
    const auto keys = portable(rowOf(command).keys);
    if (keys.isEmpty())
        return {};
    const auto key = combination(keys.front());
    return modifierNames(key.keyboardModifiers(), QLatin1Char('+')) + keyName(key.key());
}

QString Commands::shortcut(Id command)
{
    const auto& row = rowOf(command);
    return row.scope == Scope::Window ? QString::fromLatin1(row.keys) : QString();
}

QStringList Commands::shortcuts(Id command)
{
    return portable(rowOf(command).keys) + portable(rowOf(command).otherKeys);
}

std::optional<Commands::Id> Commands::find(Scope scope, QKeyCombination pressed)
{
    const QKeyCombination key(pressed.keyboardModifiers() & ~Qt::KeypadModifier, pressed.key());
    const auto& all = everyKey();
    const auto found =
        std::ranges::find_if(all, [&](const Key& each) { return each.combination == key && holdsIn(scope, *each.command); });
    return found == all.end() ? std::nullopt : std::optional(found->command->id);
}

Commands::Id Commands::pressed(Scope scope, int key, int modifiers)
{
    const auto held = static_cast<Qt::KeyboardModifiers>(static_cast<Qt::KeyboardModifiers::Int>(modifiers));
    return find(scope, QKeyCombination(held, static_cast<Qt::Key>(key))).value_or(None);
}

QVariantList Commands::sheet()
{
    QVariantList list;
    for (const auto& line : lines) {
        std::vector<QKeyCombination> keys;
        for (const auto id : line.commands) {
            for (const auto& name : portable(rowOf(id).keys))
                keys.push_back(combination(name));
        }
        list.append(QVariantMap{{QStringLiteral("group"), QString::fromUtf8(line.group)},
            {QStringLiteral("keys"), keys.empty() ? QString::fromUtf8(line.gesture) : sheetText(keys)},
            {QStringLiteral("text"), QString::fromUtf8(line.text)}});
    }
    return list;
}

} // namespace orvo
