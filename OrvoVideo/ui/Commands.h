#pragma once

#include <QKeyCombination>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <optional>

namespace orvo {

/// The commands of the windows: their keys, their texts in menus and on buttons, and the key sheet. Menus, key handlers,
/// sheet and tooltips read this one table.
///
/// To add a command, add an `Id`, a row of the table in Commands.cpp, and an implementation: a `CommandAction` of the main
/// menu, or a case of `EditorCommands::perform()`. Buttons refer to it by `command`.
class Commands : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// The lines of the key sheet: maps of `keys`, `text` and `group`, in display order.
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
        // The speaker's notes
        RollNotes,
        ScrollNotesUp,
        ScrollNotesDown,
        PageNotesUp,
        PageNotesDown,
        SlowNotes,
        SpeedNotes,
    };
    Q_ENUM(Id)

    /// Where the keys of a command work.
    enum class Scope {
        Window, ///< In the whole window, as menu shortcuts.
        Editor, ///< Wherever the focus is in the editor, unless the focused item handles them.
        Text, ///< In the transcript.
        Library, ///< In the list of projects.
        Notes, ///< In the window of the speaker's notes, while they are read.
    };
    Q_ENUM(Scope)

    using QObject::QObject;

    /// The text in a menu, with "&" before its mnemonic. Empty for a command without a menu entry.
    Q_INVOKABLE static QString menuText(orvo::Commands::Id command);

    /// The text on buttons. Empty for a command without a button.
    Q_INVOKABLE static QString title(orvo::Commands::Id command);

    /// The first key as menus and tooltips show it: "Ctrl+Mayús+Z". Empty for a command without a key.
    Q_INVOKABLE static QString keyText(orvo::Commands::Id command);

    /// The key of a window shortcut, in Qt's portable form. Empty for a command of another scope.
    Q_INVOKABLE static QString shortcut(orvo::Commands::Id command);

    /// All its keys for a shortcut, in Qt's portable form.
    Q_INVOKABLE static QStringList shortcuts(orvo::Commands::Id command);

    /// The command of a key in `scope`; window commands also work in the editor. Treats keypad keys like the others.
    static std::optional<Id> find(Scope scope, QKeyCombination pressed);

    /// Like `find`, for the values of a QML key event; `None` for a key without a command.
    Q_INVOKABLE static orvo::Commands::Id pressed(orvo::Commands::Scope scope, int key, int modifiers);

    static QVariantList sheet();
};

} // namespace orvo
