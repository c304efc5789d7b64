#include "OrvoVideo/playback/FrameConverter.h"

#include "OrvoVideo/gstreamer/GstHandles.h"

#include <QRect>
#include <QtGlobal>
#include <cstdint>
#include <gst/video/video.h>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace orvo {

namespace {

/// Recycles the memory of images that are no longer shown: allocating this much costs as much as the conversion.
class FrameMemory : public std::enable_shared_from_this<FrameMemory> {
public:
    explicit FrameMemory(QSize size)
        : m_size(size)
    {
    }

    /// Returns an image whose memory comes back here with its last copy, on any thread.
    QImage image()
    {
        Block block = take();
        uchar* bytes = block.get();
        auto* lease = new Lease{.memory = shared_from_this(), .block = std::move(block)};
        return QImage(bytes, m_size.width(), m_size.height(), bytesPerLine(), QImage::Format_RGB32, &giveBack, lease);
    }

    QSize size() const { return m_size; }
    qsizetype bytesPerLine() const { return qsizetype{4} * m_size.width(); }
    std::size_t bytes() const { return static_cast<std::size_t>(bytesPerLine() * m_size.height()); }

private:
    struct Free {
        void operator()(uchar* bytes) const { ::operator delete[](bytes, alignment); }
    };
    using Block = std::unique_ptr<uchar[], Free>;
    struct Lease {
        std::shared_ptr<FrameMemory> memory;
        Block block;
    };

    static constexpr std::align_val_t alignment{64};
    static constexpr std::size_t kept = 4;

    Block take()
    {
        const std::scoped_lock lock(m_mutex);
        if (m_free.empty())
            return Block(static_cast<uchar*>(::operator new[](bytes(), alignment)));
        Block block = std::move(m_free.back());
        m_free.pop_back();
        return block;
    }

    static void giveBack(void* given)
    {
        const std::unique_ptr<Lease> lease(static_cast<Lease*>(given));
        const std::scoped_lock lock(lease->memory->m_mutex);
        if (lease->memory->m_free.size() < kept)
            lease->memory->m_free.push_back(std::move(lease->block));
    }

    QSize m_size;
    std::mutex m_mutex;
    std::vector<Block> m_free;
};

QRect fitted(QSize frame, QSize canvas)
{
    const QSize size = frame.scaled(canvas, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    return {QPoint((canvas.width() - size.width()) / 2, (canvas.height() - size.height()) / 2), size};
}

struct FreeConverter {
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
};

} // namespace

struct FrameConverter::State {
    GstCapsHandle caps;
    GstVideoInfo from{};
    GstVideoInfo to{};
    std::unique_ptr<GstVideoConverter, FreeConverter> converter;
    std::shared_ptr<FrameMemory> memory;
    QImage black;

    void setCanvas(QSize canvas)
    {
        if (memory && memory->size() == canvas)
            return;
        memory = std::make_shared<FrameMemory>(canvas);
        converter.reset();
    }

    void setUp(GstCaps* frameCaps)
    {
        if (converter && caps && gst_caps_is_equal(caps.get(), frameCaps))
            return;
        converter.reset();
        caps.reset(gst_caps_ref(frameCaps));
        const QSize canvas = memory->size();
        if (!gst_video_info_from_caps(&from, frameCaps)
            || !gst_video_info_set_format(
                &to, GST_VIDEO_FORMAT_BGRx, static_cast<guint>(canvas.width()), static_cast<guint>(canvas.height())))
            return;
        // The conversion ignores the rate, but both formats must agree in it.
        to.fps_n = from.fps_n;
        to.fps_d = from.fps_d;
        to.interlace_mode = from.interlace_mode;
        const QRect place = fitted(QSize(from.width, from.height), canvas);
        const bool isSmaller = place.width() < from.width;
        converter.reset(gst_video_converter_new(&from, &to,
            gst_structure_new("options", GST_VIDEO_CONVERTER_OPT_DEST_X, G_TYPE_INT, place.x(),
                GST_VIDEO_CONVERTER_OPT_DEST_Y, G_TYPE_INT, place.y(), GST_VIDEO_CONVERTER_OPT_DEST_WIDTH, G_TYPE_INT,
                place.width(), GST_VIDEO_CONVERTER_OPT_DEST_HEIGHT, G_TYPE_INT, place.height(),
                GST_VIDEO_CONVERTER_OPT_FILL_BORDER, G_TYPE_BOOLEAN, TRUE, GST_VIDEO_CONVERTER_OPT_BORDER_ARGB, G_TYPE_UINT,
                0xFF000000U, GST_VIDEO_CONVERTER_OPT_RESAMPLER_METHOD, GST_TYPE_VIDEO_RESAMPLER_METHOD,
                isSmaller ? GST_VIDEO_RESAMPLER_METHOD_LINEAR : GST_VIDEO_RESAMPLER_METHOD_CUBIC,
                GST_VIDEO_CONVERTER_OPT_THREADS, G_TYPE_UINT,
                std::min(std::max(std::thread::hardware_concurrency(), 1U), 4U), nullptr)));
    }
};

FrameConverter::FrameConverter()
    : m_state(std::make_unique<State>())
{
}

FrameConverter::~FrameConverter() = default;

QImage FrameConverter::black(QSize canvas)
{
    if (m_state->black.size() != canvas) {
        m_state->black = QImage(canvas, QImage::Format_RGB32);
        m_state->black.fill(Qt::black);
    }
    return m_state->black;
}

QImage FrameConverter::convert(const MediaSample& frame, QSize canvas)
{
    m_state->setCanvas(canvas);
    m_state->setUp(gst_sample_get_caps(frame.data.get()));
    if (!m_state->converter)
        return {};
    GstVideoFrame from;
    if (!gst_video_frame_map(&from, &m_state->from, gst_sample_get_buffer(frame.data.get()), GST_MAP_READ))
        return {};
    QImage image = m_state->memory->image();
    // The converter writes directly into the image's memory.
    const std::size_t bytes = m_state->memory->bytes();
    const GstBufferHandle buffer(
        gst_buffer_new_wrapped_full(GstMemoryFlags{}, image.bits(), bytes, 0, bytes, nullptr, nullptr));
    GstVideoFrame to;
    const bool isMapped = gst_video_frame_map(&to, &m_state->to, buffer.get(), GST_MAP_WRITE) != FALSE;
    if (isMapped) {
        gst_video_converter_frame(m_state->converter.get(), &from, &to);
        gst_video_frame_unmap(&to);
    }
    gst_video_frame_unmap(&from);
    return isMapped ? image : QImage();
}

} // namespace orvo
