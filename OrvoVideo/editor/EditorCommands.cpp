#include "OrvoVideo/editor/EditorCommands.h"

#include "OrvoVideo/model/ModelText.h"

#include <QGuiApplication>
#include <algorithm>

namespace orvo {

namespace {

constexpr double keyZoom = 1.5;

} // namespace

EditorCommands::EditorCommands(QObject* parent)
    : QObject(parent)
{
    connect(&m_shuttle, &Shuttle::speedChanged, this, &EditorCommands::speedChanged);
}

void EditorCommands::setModel(AppModel* model)
{
    m_model = model;
    m_shuttle.setModel(model);
    emit modelChanged();
}

void EditorCommands::setTimeline(TimelineItem* timeline)
{
    m_timeline = timeline;
    emit timelineChanged();
}

void EditorCommands::setPreviewAlone(bool alone)
{
    if (m_previewAlone == alone)
        return;
    m_previewAlone = alone;
    emit previewAloneChanged();
}

void EditorCommands::addZoom()
{
    if (!m_model || !m_model->hasProject() || m_model->isRecording())
        return;
    m_model->editing()->addZoom();
    const PointerEvent zoom = m_model->project()->edit.events.items().back();
    goTo(std::min(zoom.time + zoom.duration / 2, m_model->projectFacts().duration));
    emit cardWanted(QStringLiteral("zoom"), Text::from(zoom.id));
}

void EditorCommands::togglePlaying()
{
    if (m_shuttle.speed() < 0)
        m_shuttle.stop();
    else if (m_model)
        m_model->togglePlaying();
}

void EditorCommands::goTo(double seconds)
{
    m_shuttle.stop();
    m_model->seek(seconds);
    tellPlayhead();
}

void EditorCommands::tellPlayhead()
{
    if (!m_timeline)
        return;
    m_timeline->revealPlayhead();
    emit m_timeline->spoke(m_timeline->spokenPosition());
}

void EditorCommands::stepSeconds(double seconds)
{
    goTo(std::clamp(m_model->playhead() + seconds, 0.0, m_model->projectFacts().duration));
}

bool EditorCommands::isTyping()
{
    const auto* focus = QGuiApplication::focusObject();
    return focus && (focus->inherits("QQuickTextInput") || focus->inherits("QQuickTextEdit"));
}

bool EditorCommands::press(int key, int modifiers)
{
    const auto command = Commands::find(
        Commands::Scope::Editor, QKeyCombination(Qt::KeyboardModifiers(modifiers), static_cast<Qt::Key>(key)));
    return command && perform(*command);
}

bool EditorCommands::perform(Commands::Id command)
{
    if (command == Commands::ShowKeys) {
        emit sheetWanted();
        return true;
    }
    if (!m_model || !m_model->hasProject())
        return false;
    switch (command) {
    case Commands::Search:
        emit searchWanted();
        return true;
    case Commands::NextMatch:
    case Commands::PreviousMatch:
        emit matchWanted(command == Commands::PreviousMatch);
        return true;
    default:
        return !isTyping() && (performOnProject(command) || performOnTimeline(command));
    }
}

bool EditorCommands::performOnProject(Commands::Id command)
{
    switch (command) {
    case Commands::TogglePlaying:
        togglePlaying();
        return true;
    case Commands::PlayForward:
        m_shuttle.forward();
        return true;
    case Commands::PlayBackward:
        m_shuttle.backward();
        return true;
    case Commands::StopPlaying:
        m_shuttle.stop();
        return true;
    case Commands::PreviousFrame:
    case Commands::NextFrame:
        m_shuttle.stop();
        m_model->stepFrames(command == Commands::NextFrame ? 1 : -1);
        tellPlayhead();
        return true;
    case Commands::PreviousSecond:
    case Commands::NextSecond:
        stepSeconds(command == Commands::NextSecond ? 1 : -1);
        return true;
    case Commands::GoToStart:
        goTo(0);
        return true;
    case Commands::GoToEnd:
        goTo(m_model->projectFacts().duration);
        return true;
    case Commands::Undo:
        m_model->undo();
        return true;
    case Commands::Redo:
        m_model->redo();
        return true;
    case Commands::StartSelection:
        m_model->editing()->startSelectionHere();
        return true;
    case Commands::EndSelection:
        m_model->editing()->endSelectionHere();
        return true;
    case Commands::CutSelection:
        m_model->cutSelection();
        return true;
    case Commands::RemoveChosen:
        if (!m_timeline || !m_timeline->removeChosen())
            m_model->cutSelection();
        return true;
    case Commands::AddZoom:
        addZoom();
        return true;
    case Commands::WriteText:
        emit textFieldWanted();
        return true;
    case Commands::ShowPreviewAlone:
        setPreviewAlone(!m_previewAlone);
        return true;
    case Commands::LetGo:
        if (m_previewAlone) {
            setPreviewAlone(false);
            return true;
        }
        return m_timeline && m_timeline->letGo();
    default:
        return false;
    }
}

bool EditorCommands::performOnTimeline(Commands::Id command)
{
    if (!m_timeline)
        return false;
    switch (command) {
    case Commands::PreviousEdge:
    case Commands::NextEdge:
        m_shuttle.stop();
        m_timeline->goToEdge(command == Commands::NextEdge);
        return true;
    case Commands::ZoomIn:
        m_timeline->zoomBy(keyZoom);
        return true;
    case Commands::ZoomOut:
        m_timeline->zoomBy(1 / keyZoom);
        return true;
    case Commands::ShowAll:
        m_timeline->fit();
        return true;
    case Commands::ChoosePrevious:
    case Commands::ChooseNext:
        m_timeline->chooseNext(command == Commands::ChooseNext);
        return true;
    case Commands::NudgeBack:
    case Commands::NudgeForward:
        m_timeline->nudgeChosen(command == Commands::NudgeForward ? 1 : -1, false);
        return true;
    case Commands::NudgeEndBack:
    case Commands::NudgeEndForward:
        m_timeline->nudgeChosen(command == Commands::NudgeEndForward ? 1 : -1, true);
        return true;
    case Commands::RestoreChosen:
        return m_timeline->restoreChosen();
    default:
        return false;
    }
}

} // namespace orvo
