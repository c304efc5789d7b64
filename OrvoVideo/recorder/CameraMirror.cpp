#include "OrvoVideo/recorder/CameraMirror.h"

#include "VideoCore/Error.h"

#include <QPainter>
#include <algorithm>
#include <atomic>

namespace orvo {

namespace {

constexpr int step = 4; ///< Shows one of this many camera pixels in each direction.

/// A reduced image in RGB.
QImage reduced(const FrameMemory& memory)
{
    const auto size = memory.size();
    QImage frame(size.width / step, size.height / step, QImage::Format_RGB32);
    for (int y = 0; y < frame.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(frame.scanLine(y));
        const auto* luma = memory.luma() + static_cast<std::ptrdiff_t>(y) * step * memory.lumaStride();
        const auto chroma = static_cast<std::ptrdiff_t>(y) * step / 2 * memory.chromaStride();
        for (std::ptrdiff_t x = 0; x < frame.width(); ++x) {
            // Limited range, BT.601, in 256ths.
            const int c = 298 * (luma[x * step] - 16) + 128;
            const int d = memory.blue()[chroma + x * step / 2] - 128;
            const int e = memory.red()[chroma + x * step / 2] - 128;
            const auto part = [](int value) { return std::clamp(value >> 8, 0, 255); };
            line[x] = qRgb(part(c + 409 * e), part(c - 100 * d - 208 * e), part(c + 516 * d));
        }
    }
    return frame;
}

} // namespace

/// Shared by the camera's thread and the main thread: frames that arrive faster than they are shown are skipped.
struct CameraMirror::Latest {
    std::atomic_bool underWay = false;
};

CameraMirror::CameraMirror(QQuickItem* parent)
    : QQuickPaintedItem(parent)
{
}

CameraMirror::~CameraMirror()
{
    m_stream.shutDown();
}

void CameraMirror::setDevice(const QString& device)
{
    if (m_device == device)
        return;
    m_device = device;
    emit deviceChanged();
    restart();
}

void CameraMirror::setActive(bool active)
{
    if (m_active == active)
        return;
    m_active = active;
    emit activeChanged();
    restart();
}

void CameraMirror::restart()
{
    m_stream.close();
    show({});
    setError({});
    if (m_active)
        watch();
}

QCoro::Task<> CameraMirror::watch()
{
    const auto asked = m_stream.asked();
    // The stream is destroyed before this object, so its threads may use it.
    const auto toMain = [this, asked](const auto& call) {
        QMetaObject::invokeMethod(
            this,
            [this, asked, call] {
                if (asked == m_stream.asked())
                    call();
            },
            Qt::QueuedConnection);
    };
    const auto latest = std::make_shared<Latest>();
    const CameraStream::Receiver receiver{.frame =
                                              [this, toMain, latest](const CapturedFrame& frame) {
                                                  if (latest->underWay.exchange(true))
                                                      return;
                                                  toMain([this, latest, image = reduced(*frame.memory)] {
                                                      latest->underWay = false;
                                                      show(image);
                                                  });
                                              },
        .ended =
            [this, toMain](const std::exception_ptr& reason) {
                QString text;
                try {
                    std::rethrow_exception(reason);
                } catch (const std::exception& error) {
                    text = QString::fromStdString(describe(error));
                }
                toMain([this, text] {
                    show({});
                    setError(text);
                });
            }};
    try {
        co_await m_stream.open([device = m_device.toStdString(), receiver] { return CameraStream::open(device, receiver); });
    } catch (const Cancelled&) {
        // Another camera was chosen, or this object is being destroyed.
    } catch (const std::exception& failure) {
        setError(QString::fromStdString(describe(failure)));
    }
}

void CameraMirror::show(const QImage& frame)
{
    const bool was = showing();
    m_frame = frame;
    update();
    if (was != showing())
        emit showingChanged();
}

void CameraMirror::setError(const QString& error)
{
    if (m_error == error)
        return;
    m_error = error;
    emit errorChanged();
}

void CameraMirror::paint(QPainter* painter)
{
    if (m_frame.isNull())
        return;
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(QRectF(0, 0, width(), height()), m_frame);
}

} // namespace orvo
