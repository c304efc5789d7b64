#include "OrvoVideo/editor/EditorCommands.h"

#include "OrvoVideo/model/ModelText.h"

#include <QGuiApplication>
#include <QVariantMap>
#include <algorithm>

namespace orvo {

namespace {

/// A key with what it does, as the sheet shows it.
struct Shown {
    const char* group;
    const char* keys;
    const char* text;
};

constexpr const char* playing = "Reproducir";
constexpr const char* moving = "Moverse";
constexpr const char* editing = "Editar";
constexpr const char* text = "Texto";
constexpr const char* view = "Línea de tiempo";

constexpr Shown shownKeys[]{
    {playing, "Espacio", "Reproducir o pausar"},
    {playing, "L", "Adelante; otra vez, más rápido"},
    {playing, "J", "Atrás; otra vez, más rápido"},
    {playing, "K", "Parar"},
    {moving, "← →", "Un fotograma"},
    {moving, "Mayús ← →", "Un segundo"},
    {moving, "Inicio · Fin", "Principio y final"},
    {moving, "↑ ↓", "Borde anterior y siguiente"},
    {editing, "I · O", "Inicio y final de la selección"},
    {editing, "X · Supr", "Cortar la selección"},
    {editing, "Z", "Añadir un zoom"},
    {editing, "T", "Escribir un texto en pantalla"},
    {editing, "Ctrl Z", "Deshacer"},
    {editing, "Ctrl Mayús Z", "Rehacer"},
    {editing, "Ctrl H", "Historial"},
    {text, "← → ↑ ↓", "Palabra y línea; con Ctrl, frase y párrafo"},
    {text, "Mayús ← →", "Marcar palabras; con Ctrl, frases"},
    {text, "X · Supr", "Cortar lo marcado; otra vez, restaurarlo"},
    {text, "Intro · F2", "Corregir la palabra; Tab, la siguiente"},
    {text, "Ctrl C", "Copiar el texto"},
    {text, "Ctrl F · F3", "Buscar; el siguiente hallazgo"},
    {view, "+ · −", "Ampliar y reducir"},
    {view, "0", "Ver todo"},
    {view, "Ctrl ← →", "Marcar el corte, zoom o texto anterior o siguiente"},
    {view, "Alt ← →", "Mover lo marcado un fotograma"},
    {view, "Alt Mayús ← →", "Mover su final un fotograma"},
    {view, "Intro", "Restaurar el corte marcado o el del cabezal"},
    {view, "Supr", "Quitar el zoom o texto marcado"},
    {view, "Esc", "Soltar lo marcado"},
    {view, "Mayús al arrastrar", "Sin ajuste a los bordes"},
    {view, "F", "Ver solo la imagen"},
    {view, "F1", "Mostrar estas teclas"},
};

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

void EditorCommands::setPictureAlone(bool alone)
{
    if (m_pictureAlone == alone)
        return;
    m_pictureAlone = alone;
    emit pictureAloneChanged();
}

QVariantList EditorCommands::sheet()
{
    QVariantList list;
    for (const auto& shown : shownKeys) {
        list.append(QVariantMap{{QStringLiteral("group"), QString::fromUtf8(shown.group)},
            {QStringLiteral("keys"), QString::fromUtf8(shown.keys)},
            {QStringLiteral("text"), QString::fromUtf8(shown.text)}});
    }
    return list;
}

void EditorCommands::addZoom()
{
    if (!m_model || !m_model->hasProject() || m_model->isRecording())
        return;
    m_model->addZoom();
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
    const auto held = Qt::KeyboardModifiers(modifiers) & ~Qt::KeypadModifier;
    if (key == Qt::Key_F1 && held == Qt::NoModifier) {
        emit sheetWanted();
        return true;
    }
    if (!m_model || !m_model->hasProject())
        return false;
    if (key == Qt::Key_F && held == Qt::ControlModifier) {
        emit searchWanted();
        return true;
    }
    if (key == Qt::Key_F3 && (held == Qt::NoModifier || held == Qt::ShiftModifier)) {
        emit matchWanted(held == Qt::ShiftModifier);
        return true;
    }
    if (isTyping())
        return false;

    const bool plain = held == Qt::NoModifier;
    const bool shift = held == Qt::ShiftModifier;
    const bool forward = key == Qt::Key_Right;
    switch (key) {
    case Qt::Key_Left:
    case Qt::Key_Right:
        if (plain) {
            m_shuttle.stop();
            m_model->stepFrames(forward ? 1 : -1);
            tellPlayhead();
        } else if (shift) {
            stepSeconds(forward ? 1 : -1);
        } else if (held == Qt::ControlModifier && m_timeline) {
            m_timeline->chooseNext(forward);
        } else if (held.testFlag(Qt::AltModifier) && !held.testFlag(Qt::ControlModifier) && m_timeline) {
            m_timeline->nudgeChosen(forward ? 1 : -1, held.testFlag(Qt::ShiftModifier));
        } else {
            return false;
        }
        return true;
    case Qt::Key_Z:
        if (held == Qt::ControlModifier)
            m_model->undo();
        else if (held == (Qt::ControlModifier | Qt::ShiftModifier))
            m_model->redo();
        else if (plain)
            addZoom();
        else
            return false;
        return true;
    case Qt::Key_Plus:
    case Qt::Key_Minus:
        // The plus of some keyboards needs Shift.
        if ((!plain && !shift) || !m_timeline)
            return false;
        m_timeline->zoomBy(key == Qt::Key_Plus ? keyZoom : 1 / keyZoom);
        return true;
    default:
        break;
    }
    if (!plain)
        return false;
    switch (key) {
    case Qt::Key_Space:
        togglePlaying();
        return true;
    case Qt::Key_J:
        m_shuttle.backward();
        return true;
    case Qt::Key_K:
        m_shuttle.stop();
        return true;
    case Qt::Key_L:
        m_shuttle.forward();
        return true;
    case Qt::Key_Home:
        goTo(0);
        return true;
    case Qt::Key_End:
        goTo(m_model->projectFacts().duration);
        return true;
    case Qt::Key_I:
        m_model->startSelectionHere();
        return true;
    case Qt::Key_O:
        m_model->endSelectionHere();
        return true;
    case Qt::Key_X:
        m_model->cutSelection();
        return true;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        if (!m_timeline || !m_timeline->removeChosen())
            m_model->cutSelection();
        return true;
    case Qt::Key_T:
        emit textFieldWanted();
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (!m_timeline)
            return false;
        m_shuttle.stop();
        m_timeline->goToEdge(key == Qt::Key_Down);
        return true;
    case Qt::Key_0:
        if (!m_timeline)
            return false;
        m_timeline->fit();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return m_timeline && m_timeline->restoreChosen();
    case Qt::Key_F:
        setPictureAlone(!m_pictureAlone);
        return true;
    case Qt::Key_Escape:
        if (m_pictureAlone) {
            setPictureAlone(false);
            return true;
        }
        return m_timeline && m_timeline->letGo();
    default:
        return false;
    }
}

} // namespace orvo
