#pragma once

#include "OrvoVideo/editor/Shuttle.h"
#include "OrvoVideo/editor/TimelineItem.h"
#include "OrvoVideo/model/AppModel.h"

#include <QPointer>
#include <QVariantList>

namespace orvo {

/// The editor's keys: what each does, and the sheet that shows them.
class EditorCommands : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    Q_PROPERTY(orvo::TimelineItem* timeline READ timeline WRITE setTimeline NOTIFY timelineChanged)
    /// Playing speed: below 0 backwards, 0 when nothing plays.
    Q_PROPERTY(double speed READ speed NOTIFY speedChanged)
    /// What every key does: maps of `keys` and `text`, grouped by `group`.
    Q_PROPERTY(QVariantList sheet READ sheet CONSTANT)
public:
    explicit EditorCommands(QObject* parent = nullptr);

    AppModel* model() const { return m_model; }
    void setModel(AppModel* model);
    TimelineItem* timeline() const { return m_timeline; }
    void setTimeline(TimelineItem* timeline);
    double speed() const { return m_shuttle.speed(); }
    static QVariantList sheet();

    /// Does what a key stands for; the values are those of a key event. False for a key that stands for nothing.
    Q_INVOKABLE bool press(int key, int modifiers);

    /// Whether the keyboard is in a field of text, which may leave keys over that it has no use for.
    Q_INVOKABLE static bool isTyping();

    /// Stops whatever plays, or plays from the playhead.
    Q_INVOKABLE void togglePlaying();

signals:
    void modelChanged();
    void timelineChanged();
    void speedChanged();
    /// The field for a text on the screen is to have the keyboard.
    void textFieldWanted();
    /// The search in the transcript is to have the keyboard, or to go on.
    void searchWanted();
    void matchWanted(bool backwards);
    void sheetWanted();

private:
    void goTo(double seconds);
    void tellPlayhead();
    void stepSeconds(double seconds);

    QPointer<AppModel> m_model;
    QPointer<TimelineItem> m_timeline;
    Shuttle m_shuttle;
};

} // namespace orvo
