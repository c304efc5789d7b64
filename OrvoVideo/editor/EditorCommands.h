#pragma once

#include "OrvoVideo/editor/Shuttle.h"
#include "OrvoVideo/editor/TimelineItem.h"
#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/ui/Commands.h"

#include <QPointer>

namespace orvo {

/// Carries out the commands of the editor. `Commands` holds their keys.
class EditorCommands : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    Q_PROPERTY(orvo::TimelineItem* timeline READ timeline WRITE setTimeline NOTIFY timelineChanged)
    /// Playback speed, a multiple of the normal one: below 0 backwards, 0 when stopped.
    Q_PROPERTY(double speed READ speed NOTIFY speedChanged)
    /// Whether the editor shows only the preview and its controls.
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

    /// Carries out the command of a key event. Returns false if the key has no command at this time.
    Q_INVOKABLE bool press(int key, int modifiers);

    /// Returns false for a command that the editor cannot carry out now, or that belongs to another view. While the user
    /// types, only the key sheet and the search are available.
    bool perform(Commands::Id command);

    /// Whether a text field has the keyboard focus. Such a field may pass on keys that it does not use.
    Q_INVOKABLE static bool isTyping();

    /// Adds a zoom point at the playhead and moves the playhead into it, so that the zoom is visible.
    Q_INVOKABLE void addZoom();

    /// Stops playback, or plays from the playhead.
    Q_INVOKABLE void togglePlaying();

signals:
    void modelChanged();
    void timelineChanged();
    void speedChanged();
    void previewAloneChanged();
    /// Requests the keyboard focus for the field that adds an overlay text.
    void textFieldWanted();
    /// Requests the keyboard focus for the transcript search, or the next or previous match.
    void searchWanted();
    void matchWanted(bool backwards);
    void sheetWanted();
    /// Requests the controls of a zoom point; `kind` is "zoom".
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
