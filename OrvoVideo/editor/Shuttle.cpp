#include "OrvoVideo/editor/Shuttle.h"

#include <algorithm>
#include <chrono>

namespace orvo {

namespace {

using namespace std::chrono_literals;
constexpr auto stepTime = 80ms; ///< Between two frames of backward playback.

} // namespace

Shuttle::Shuttle(QObject* parent)
    : QObject(parent)
{
    m_step.setInterval(stepTime);
    connect(&m_step, &QTimer::timeout, this, &Shuttle::stepBack);
}

void Shuttle::setModel(AppModel* model)
{
    if (m_model == model)
        return;
    stop();
    if (m_model) {
        m_model->disconnect(this);
        m_model->player()->disconnect(this);
    }
    m_model = model;
    if (!m_model)
        return;
    connect(m_model->player(), &PreviewPlayer::rateChanged, this, &Shuttle::speedChanged);
    // Normal playback and a changed preview end backward playback.
    const auto end = [this] {
        m_step.stop();
        m_backward = 0;
        emit speedChanged();
    };
    connect(m_model, &AppModel::playingChanged, this, [this, end] {
        if (m_model->playing() && m_backward > 0)
            end();
    });
    connect(m_model, &AppModel::previewChanged, this, end);
}

double Shuttle::speed() const
{
    if (m_backward > 0)
        return -m_backward;
    return m_model ? m_model->player()->rate() : 0;
}

void Shuttle::forward()
{
    if (!m_model)
        return;
    const double before = m_backward > 0 ? 0 : m_model->player()->rate();
    if (m_backward > 0)
        stop();
    if (before <= 0)
        m_model->play();
    else
        m_model->player()->setRate(std::min(before * 2, maxSpeed));
    emit speedChanged();
}

void Shuttle::backward()
{
    if (!m_model || !m_model->hasProject())
        return;
    m_model->pause();
    m_backward = m_backward > 0 ? std::min(m_backward * 2, maxSpeed) : 1;
    m_sinceStep.start();
    m_step.start();
    emit speedChanged();
}

void Shuttle::stop()
{
    m_step.stop();
    m_backward = 0;
    if (m_model)
        m_model->pause();
    emit speedChanged();
}

void Shuttle::stepBack()
{
    if (!m_model || !m_model->project()) {
        stop();
        return;
    }
    double time = m_model->playhead() - static_cast<double>(m_sinceStep.restart()) / 1000 * m_backward;
    for (const auto& cut : m_model->project()->edit.cuts) {
        if (cut.start < time && time < cut.end)
            time = cut.start;
    }
    m_model->seek(std::max(time, 0.0));
    if (time <= 0)
        stop();
}

} // namespace orvo
