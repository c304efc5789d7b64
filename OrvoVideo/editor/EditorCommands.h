#pragma once

#include "OrvoVideo/editor/Shuttle.h"
#include "OrvoVideo/editor/TimelineItem.h"
#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/ui/Commands.h"

#include <QPointer>

namespace orvo {

/// Carries out the commands of the editor, which have their keys in `Commands`.
class EditorCommands : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    Q_PROPERTY(orvo::TimelineItem* timeline READ timeline WRITE setTimeline NOTIFY timelineChanged)
    /// Playing speed: below 0 backwards, 0 when nothing plays.
    Q_PROPERTY(double speed READ speed NOTIFY speedChanged)
    /// Whether the picture is shown alone, with its controls.
    Q_PROPERTY(bool previewAlone READ previewAlone WRITE setPreviewAlone NOTIFY previewAloneChanged)
public:
    explicit EditorCommands(QObject* parent = nullptr);

    AppModel* model() const { return m_model; }
    void setModel(AppModel* model);
    TimelineItem* timeline() const { return m_timeline; }
    void setTimeline(TimelineItem* timeline);
    double speed() const { return m_shuttle.speed(); }
    bool previewAlone() const { return m_previewAlone; }
    void setPreviewAlone(bool alone);

    /// Carries out the command of a key; the values are those of a key event. False when no command has that key now.
    Q_INVOKABLE bool press(int key, int modifiers);

    /// False for a command that the editor cannot carry out now, or that is carried out elsewhere. While the user types
    /// only the sheet of keys and the search are at hand.
    bool perform(Commands::Id command);

    /// Whether the keyboard is in a field of text, which may leave keys over that it has no use for.
    Q_INVOKABLE static bool isTyping();

    /// Adds a zoom point at the playhead and puts the playhead into it, where it can be seen.
    Q_INVOKABLE void addZoom();

    /// Stops whatever plays, or plays from the playhead.
    Q_INVOKABLE void togglePlaying();

signals:
    void modelChanged();
    void timelineChanged();
    void speedChanged();
    void previewAloneChanged();
    /// The field for a text on the screen is to have the keyboard.
    void textFieldWanted();
    /// The search in the transcript is to have the keyboard, or to go on.
    void searchWanted();
    void matchWanted(bool backwards);
    void sheetWanted();
    /// The controls of a zoom point ("zoom") are to be seen.
    void cardWanted(const QString& kind, const QString& id);

private:
    bool performOnProject(Commands::Id command);
    bool performOnTimeline(Commands::Id command);
    void goTo(double seconds);
    void tellPlayhead();
    void stepSeconds(double seconds);

    QPointer<AppModel> m_model;
    QPointer<TimelineItem> m_timeline;
    Shuttle m_shuttle;
    bool m_previewAlone = false;
};

} // namespace orvo
