#pragma once

#include <QKeyCombination>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <optional>

namespace orvo {

/// The commands of the windows: their keys, their texts in menus and on buttons, and the sheet of keys. Menus, keyboard,
/// sheet and tooltips read this one table.
///
/// To add a command, add an `Id`, a row of the table in Commands.cpp, and what carries it out: a `CommandAction` of the
/// main menu, or a case of `EditorCommands::perform()`. Buttons name it in `command`.
class Commands : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// What every key does: maps of `keys` and `text`, grouped by `group`.
    Q_PROPERTY(QVariantList sheet READ sheet CONSTANT)
public:
    enum Id {
        None,
        // Archivo
        NewRecording,
        ImportVideo,
        AppendVideo,
        ExportVideo,
        OpenSpace,
        OpenSettings,
        Quit,
        // Editar
        Undo,
        Redo,
        ShowHistory,
        StartSelection,
        EndSelection,
        CutSelection,
        AddZoom,
        ShowKeys,
        // Ver
        ToggleLibrary,
        ToggleInspector,
        SystemAppearance,
        DarkAppearance,
        LightAppearance,
        // Ayuda
        OpenGuide,
        CheckEquipment,
        RevealCrashLog,
        OpenAbout,
        // The editor
        TogglePlaying,
        PlayForward,
        PlayBackward,
        StopPlaying,
        PreviousFrame,
        NextFrame,
        PreviousSecond,
        NextSecond,
        GoToStart,
        GoToEnd,
        PreviousEdge,
        NextEdge,
        WriteText,
        ZoomIn,
        ZoomOut,
        ShowAll,
        ChoosePrevious,
        ChooseNext,
        NudgeBack,
        NudgeForward,
        NudgeEndBack,
        NudgeEndForward,
        RestoreChosen,
        RemoveChosen,
        LetGo,
        ShowPreviewAlone,
        Search,
        NextMatch,
        PreviousMatch,
        // The transcript
        MoveCaret,
        MarkWords,
        ToggleWords,
        CorrectWord,
        CopyWords,
        UnmarkWords,
        // The library
        RenameProject,
        DuplicateProjects,
        TrashProjects,
        MarkAllProjects,
    };
    Q_ENUM(Id)

    /// Where the keys of a command hold.
    enum class Scope {
        Window, ///< In the whole window, as shortcuts of its menus.
        Editor, ///< Wherever the keyboard is in the editor, unless what has the keyboard uses them itself.
        Text, ///< In the transcript.
        Library, ///< In the list of projects.
    };
    Q_ENUM(Scope)

    using QObject::QObject;

    /// The text in a menu, with "&" before its mnemonic. Empty for a command of no menu.
    Q_INVOKABLE static QString menuText(orvo::Commands::Id command);

    /// What buttons call the command. Empty where no button does it.
    Q_INVOKABLE static QString title(orvo::Commands::Id command);

    /// Its first key as menus and tooltips show it: "Ctrl+Mayús+Z". Empty for a command without a key.
    Q_INVOKABLE static QString keyText(orvo::Commands::Id command);

    /// Its key for a shortcut of the window, in Qt's portable form. Empty for a command of another scope.
    Q_INVOKABLE static QString shortcut(orvo::Commands::Id command);

    /// The command of a key in `scope`; those of the window hold in the editor, too. The keypad's keys count as the others.
    static std::optional<Id> find(Scope scope, QKeyCombination pressed);

    /// As `find`, for a key event of QML; `None` for any other key.
    Q_INVOKABLE static orvo::Commands::Id pressed(orvo::Commands::Scope scope, int key, int modifiers);

    static QVariantList sheet();
};

} // namespace orvo
