#include "OrvoVideo/recorder/RecordingNotice.h"

#include "OrvoVideo/ui/Wording.h"

namespace orvo {

RecordingNotice::RecordingNotice(Recorder& recorder, const ShortcutManager& shortcuts, const RecordingDesk& desk)
    : m_recorder(recorder)
    , m_shortcuts(shortcuts)
    , m_desk(desk)
{
    connect(&m_desk, &RecordingDesk::cleared, this, &RecordingNotice::tellKeys);
    connect(&m_recorder, &Recorder::phaseChanged, this, &RecordingNotice::followPhase);
    connect(&m_recorder, &Recorder::microphoneUnheardChanged, this, &RecordingNotice::followMicrophone);
    connect(&m_notice, &DesktopNotice::clicked, &m_recorder, &Recorder::stop);
}

void RecordingNotice::tellKeys()
{
    if (m_desk.hasBar())
        return;
    const bool isOnlyWay = m_desk.hidesTheOnlyWay();
    QStringList lines;
    if (m_shortcuts.hears(ShortcutManager::Action::Record)) {
        using enum ShortcutManager::Action;
        lines << Wording::keys(m_shortcuts.text(Record)) + QStringLiteral(": terminar y guardar")
              << Wording::keys(m_shortcuts.text(Pause)) + QStringLiteral(": pausar y continuar")
              << Wording::keys(m_shortcuts.text(Zoom)) + QStringLiteral(": añadir zoom");
    } else if (isOnlyWay) {
        lines << QStringLiteral("Para terminar, pulsa este aviso o abre Orvo Video otra vez.");
    } else {
        lines << QStringLiteral("Para terminar, usa el icono de Orvo Video en la bandeja.");
    }
    m_notice.show(QStringLiteral("Se graba todo lo que se ve"), lines.join(QLatin1Char('\n')),
        {.click = isOnlyWay ? QStringLiteral("Terminar y guardar") : QString(), .stays = isOnlyWay});
}

void RecordingNotice::followPhase()
{
    const auto phase = m_recorder.phase();
    // The recording would show the notification.
    if (phase == Recorder::Phase::Idle || (phase == Recorder::Phase::Recording && !m_desk.hidesTheOnlyWay()))
        m_notice.close();
}

void RecordingNotice::followMicrophone()
{
    if (m_recorder.microphoneUnheard() && !m_desk.hasBar() && !m_desk.hidesTheOnlyWay())
        m_notice.show(QStringLiteral("No se oye el micrófono"), QStringLiteral("Comprueba que no está silenciado."));
}

} // namespace orvo
