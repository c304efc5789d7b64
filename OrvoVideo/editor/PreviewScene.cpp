#include "OrvoVideo/editor/PreviewScene.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoMedia/RenderGraph.h"

#include <QVariantMap>
#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace orvo {

namespace {

/// A fraction of the frame in whole pixels, as an export places its marks.
double wholePixels(double fraction, double size)
{
    return std::trunc(fraction * size);
}

} // namespace

PreviewScene::PreviewScene(QObject* parent)
    : QObject(parent)
{
}

void PreviewScene::setModel(AppModel* model)
{
    if (m_model == model)
        return;
    if (m_model) {
        m_model->disconnect(this);
        m_model->playback().disconnect(this);
        m_model->player()->disconnect(this);
        m_model->cameraPlayer()->disconnect(this);
    }
    m_model = model;
    if (m_model) {
        connect(m_model, &AppModel::projectChanged, this, &PreviewScene::place);
        connect(&m_model->playback(), &Playback::shownChanged, this, &PreviewScene::place);
        connect(m_model, &AppModel::playingChanged, this, [this] {
            if (m_model->playing())
                setFramedZoom({});
        });
        connect(m_model, &AppModel::previewChanged, this, &PreviewScene::previewChanged);
        connect(m_model, &AppModel::optionsChanged, this, &PreviewScene::place);
        connect(m_model, &AppModel::playheadChanged, this, &PreviewScene::follow);
        // While playing, marks follow every frame; the playhead is reported less often.
        connect(m_model->player(), &PreviewPlayer::frameChanged, this, &PreviewScene::follow);
        for (const auto signal : {&PreviewPlayer::frameChanged, &PreviewPlayer::loaded})
            connect(m_model->cameraPlayer(), signal, this, &PreviewScene::takeCameraShape);
        connect(m_model, &AppModel::previewChanged, this, &PreviewScene::takeCameraShape);
        takeCameraShape();
    }
    place();
    emit previewChanged();
    emit modelChanged();
}

void PreviewScene::setViewSize(const QSizeF& size)
{
    if (m_viewSize == size)
        return;
    m_viewSize = size;
    emit viewSizeChanged();
    place();
}

void PreviewScene::takeCameraShape()
{
    const auto* camera = m_model->cameraPlayer();
    const QSize shape = camera->hasComposition() ? camera->frame().size() : QSize();
    if (shape != m_cameraShape) {
        m_cameraShape = shape;
        place();
    }
    updateCameraShown(); // Another file may have the same shape.
}

const VideoProject* PreviewScene::project() const
{
    return m_model ? m_model->playback().shown() : nullptr;
}

void PreviewScene::place()
{
    // Most edits move nothing, but everything drawn over the frame listens to the signal.
    const auto places = [this] { return std::tuple(m_frameSize, m_frame, m_pixel, m_camera); };
    const auto before = places();
    if (const VideoProject* shown = project()) {
        const auto size = RenderGraph::outputSize(*shown, m_model->options().height);
        m_frameSize = {static_cast<int>(size.width), static_cast<int>(size.height)};
        const auto fitted = PreviewGeometry::fitted(
            {m_viewSize.width(), m_viewSize.height()}, {static_cast<double>(size.width), static_cast<double>(size.height)});
        m_frame = {fitted.x, fitted.y, fitted.width, fitted.height};
        m_pixel = fitted.width / static_cast<double>(size.width);
        const auto camera =
            PreviewGeometry::cameraPlace(shown->edit, {static_cast<double>(size.width), static_cast<double>(size.height)},
                {static_cast<double>(m_cameraShape.width()), static_cast<double>(m_cameraShape.height())});
        m_camera = {camera.x * m_pixel, camera.y * m_pixel, camera.width * m_pixel, camera.height * m_pixel};
        m_trail.show(*shown);
    }
    if (places() != before)
        emit placesChanged();
    follow();
}

void PreviewScene::updateCameraShown()
{
    const VideoProject* shown = project();
    // As in an export, the camera disappears at the end of its file.
    const bool cameraShown = shown && shown->edit.cameraVisible && !m_cameraShape.isEmpty()
        && m_time < m_model->playback().cameraEnd()
        && std::ranges::contains(shown->tracks, TrackKind::camera, &MediaTrack::kind);
    if (std::exchange(m_cameraShown, cameraShown) != cameraShown)
        emit cameraShownChanged();
}

namespace {

/// How black the frame at `time` is in a span that fades over `fade` seconds at both ends, 0..1. Fades over whole frames,
/// as the filters of an export do.
double blackness(double time, const TimeSpan& span, double fade, double fps)
{
    const auto framesOf = [&](double seconds) { return std::round(std::round(seconds * 1e6) * fps / 1e6); };
    const double count = framesOf(fade);
    if (!(count > 0))
        return 0;
    const double frame = framesOf(time - span.start);
    const double in = std::clamp(frame / count, 0.0, 1.0);
    const double out = 1 - std::clamp((frame - framesOf(span.duration() - fade)) / count, 0.0, 1.0);
    return 1 - in * out;
}

/// Rounds to whole pixels of the frame at even offsets, as an export does.
PreviewGeometry::Zoom onPixels(const PreviewGeometry::Zoom& zoom, QSize frame, double pixel)
{
    if (zoom.scale <= 1 || frame.isEmpty())
        return zoom;
    const double width = std::trunc(frame.width() / zoom.scale);
    const double height = std::trunc(frame.height() / zoom.scale);
    const auto even = [&](double offset, double room) {
        return std::floor(std::clamp(std::trunc(offset / pixel), 0.0, std::max(room, 0.0)) / 2) * 2 * pixel;
    };
    return {frame.width() / width, even(zoom.x, frame.width() - width), even(zoom.y, frame.height() - height)};
}

} // namespace

double PreviewScene::dipAt(double time) const
{
    const bool playing = m_model->playing();
    // An opened project shows its first frame, although the film fades in from black.
    if (!playing && m_model->playhead() == 0)
        return 0;
    const auto& all = m_model->playback().kept();
    const auto next = std::ranges::upper_bound(all, time, {}, [](const auto& kept) { return kept.span.start; });
    if (next != all.begin() && time < (next - 1)->span.end)
        return blackness(time, (next - 1)->span, (next - 1)->videoFade, static_cast<double>(project()->fps));
    // The user can view a cut while paused; playback skips it.
    return playing && project()->edit.fade > 0 && !all.empty() ? 1 : 0;
}

double PreviewScene::clipDipAt(double time) const
{
    double dip = 0;
    for (const auto& track : project()->tracks) {
        const double length = track.duration > 0 ? track.duration : project()->duration;
        if (RenderGraph::isVisibleVideo(track) && track.start <= time && time < track.start + length)
            dip = blackness(time, {track.start, track.start + length}, RenderGraph::clipFade(*project(), length),
                static_cast<double>(project()->fps));
    }
    return dip;
}

void PreviewScene::setFramedZoom(const QString& id)
{
    if (m_framedZoom == id)
        return;
    m_framedZoom = id;
    emit framedZoomChanged();
    follow();
}

void PreviewScene::frameZoom()
{
    m_zoomPart.reset();
    if (m_framedZoom.isEmpty() || m_model->playing())
        return;
    const auto& zooms = m_trail.zooms();
    const auto zoom = std::ranges::find(zooms, Text::toId(m_framedZoom), &PointerEvent::id);
    if (zoom == zooms.end() || m_time < zoom->time || m_time > zoom->time + zoom->duration)
        return;
    const auto part = PreviewGeometry::magnifiedPart(*zoom, {1, 1});
    m_zoomPart = QRectF(part.x, part.y, part.width, part.height);
}

void PreviewScene::follow()
{
    const VideoProject* shown = project();
    if (!shown)
        return;
    m_time = m_model->playing() ? m_model->player()->position() : m_model->playhead();
    frameZoom();
    m_zoom = framing()
        ? PreviewGeometry::Zoom()
        : onPixels(PreviewGeometry::previewTransform(m_trail.zooms(), m_time, {m_frame.width(), m_frame.height()}),
              m_frameSize, m_pixel);
    // Fades change from frame to frame, not in between.
    const double rate = std::max(static_cast<double>(shown->fps), 1.0);
    const double frame = std::floor(m_time * rate + 1e-3) / rate;
    m_dip = dipAt(frame);
    m_clipDip = clipDipAt(frame);
    m_pointer = m_trail.at(m_time);
    auto halos = shown->edit.clickHalo ? m_trail.halos(m_time) : std::vector<PreviewGeometry::PointerTrail::Halo>();
    const bool othersHalos = halos != m_halos;
    m_halos = std::move(halos);
    emit timeChanged();
    updateCameraShown();
    if (othersHalos)
        emit halosChanged();
}

QPointF PreviewScene::pointer() const
{
    if (!m_pointer)
        return {};
    return {
        wholePixels(m_pointer->x, m_frameSize.width()) * m_pixel, wholePixels(m_pointer->y, m_frameSize.height()) * m_pixel};
}

QVariantList PreviewScene::halos() const
{
    QVariantList list;
    for (const auto& halo : m_halos) {
        list.append(QVariantMap{{QStringLiteral("x"), wholePixels(halo.place.x, m_frameSize.width()) * m_pixel},
            {QStringLiteral("y"), wholePixels(halo.place.y, m_frameSize.height()) * m_pixel},
            {QStringLiteral("progress"), halo.progress}});
    }
    return list;
}

} // namespace orvo
