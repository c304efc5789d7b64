#include "OrvoVideo/capture/screen/PipeWireScreenStream.h"

#include "OrvoVideo/capture/screen/FrameFitter.h"
#include "OrvoVideo/capture/screen/PipeWireConnection.h"
#include "OrvoVideo/capture/screen/PipeWireFormats.h"
#include "OrvoVideo/capture/screen/PipeWireLoans.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <fcntl.h>
#include <libyuv.h>
#include <mutex>
#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <span>
#include <string_view>
#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;
using PipeWire::endedError;
using PipeWire::LoopLock;

constexpr auto maxAnswerTime = 10s;

/// Buffers left to the desktop for drawing while others are lent, and the minimum number of all that allows lending.
constexpr std::size_t buffersToDraw = 2;
constexpr std::size_t minBuffersToLend = 5;

Error undeliveredError()
{
    return captureError("El escritorio comparte la pantalla, pero no entrega ninguna imagen de ella.");
}

/// A part of a captured frame as RGB.
SourceFrame frameOf(const FrameMemory& memory, const FramePlace& part)
{
    SourceFrame frame{.size = part.size, .pixels = {}};
    const int stride = 3 * part.size.width;
    frame.pixels.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(part.size.height));
    const auto chroma = std::ptrdiff_t{part.y / 2} * memory.chromaStride() + part.x / 2;
    libyuv::I420ToRAW(memory.luma() + std::ptrdiff_t{part.y} * memory.lumaStride() + part.x, memory.lumaStride(),
        memory.blue() + chroma, memory.chromaStride(), memory.red() + chroma, memory.chromaStride(), frame.pixels.data(),
        stride, part.size.width, part.size.height);
    return frame;
}

class PipeWireScreenStream final : public ScreenStream {
public:
    PipeWireScreenStream(const CaptureSource& source, const Settings& settings)
        : m_source(source)
        , m_settings(settings)
        , m_pool(settings.size)
        , m_interval(captureLength(1.0 / settings.fps))
        , m_connection(source.stream->connection())
    {
    }

    ~PipeWireScreenStream() override
    {
        const LoopLock lock(m_connection.loop.get());
        if (m_timer)
            pw_loop_destroy_source(pw_thread_loop_get_loop(m_connection.loop.get()), m_timer);
        if (m_loans)
            m_loans->close();
        // Destruction must not be reported as the end of the source.
        if (m_stream)
            spa_hook_remove(&m_listener);
        m_stream.reset();
        m_registry.reset();
    }

    void start(Receiver receiver) override
    {
        m_receiver = std::move(receiver);
        {
            const LoopLock lock(m_connection.loop.get());
            m_loans = std::make_shared<PipeWireLoans>(
                pw_thread_loop_get_loop(m_connection.loop.get()), [this] { loansChanged(); });
            connect();
        }
        std::unique_lock lock(m_mutex);
        // Does not wait for a frame: some desktops deliver none until something is drawn.
        if (!m_changed.wait_for(lock, maxAnswerTime, [this] { return m_end || (m_streaming && m_format.size.width > 0); }))
            throw undeliveredError();
        if (m_end)
            throw *m_end;
    }

    View view() const override
    {
        const std::lock_guard lock(m_mutex);
        const double scale = m_source.scale;
        View view{.area = m_source.rect, .shown = {.width = 1, .height = 1}};
        if (m_drawn) {
            view.area.width = m_drawn->part.width / scale;
            view.area.height = m_drawn->part.height / scale;
            view.shown = m_drawn->place.within(m_settings.size);
        }
        if (m_settings.region)
            view.area = *m_settings.region;
        if (m_pointer) {
            const Point origin = m_drawn ? Point{.x = m_drawn->part.x, .y = m_drawn->part.y} : Point{};
            view.pointer = Point{.x = m_source.rect.x + (m_pointer->x - origin.x) / scale,
                .y = m_source.rect.y + (m_pointer->y - origin.y) / scale};
        }
        return view;
    }

    /// The size of the source, in pixels.
    FrameSize sourceSize() const
    {
        const std::lock_guard lock(m_mutex);
        return m_drawn
            ? FrameSize{.width = static_cast<int>(m_drawn->part.width), .height = static_cast<int>(m_drawn->part.height)}
            : formatSize();
    }

private:
    FrameSize formatSize() const
    {
        return {.width = static_cast<int>(m_format.size.width), .height = static_cast<int>(m_format.size.height)};
    }

    static PipeWireScreenStream& of(void* self) { return *static_cast<PipeWireScreenStream*>(self); }

    void connect()
    {
        m_stream.reset(pw_stream_new(m_connection.core.get(), "Orvo Video",
            pw_properties_new(
                PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Screen", nullptr)));
        if (!m_stream)
            throw endedError();
        static constexpr pw_stream_events events{.version = PW_VERSION_STREAM_EVENTS,
            .state_changed = &PipeWireScreenStream::stateChanged,
            .param_changed = &PipeWireScreenStream::formatChanged,
            .add_buffer = &PipeWireScreenStream::bufferCame,
            .remove_buffer = &PipeWireScreenStream::bufferWent,
            .process = &PipeWireScreenStream::frameCame};
        pw_stream_add_listener(m_stream.get(), &m_listener, &events, this);

        // When the producer of a stream is gone, the stream only pauses; the registry reports the end.
        m_registry.reset(pw_core_get_registry(m_connection.core.get(), PW_VERSION_REGISTRY, 0));
        if (!m_registry)
            throw endedError();
        static constexpr pw_registry_events registryEvents{.version = PW_VERSION_REGISTRY_EVENTS,
            .global = &PipeWireScreenStream::objectCame,
            .global_remove = &PipeWireScreenStream::objectWent};
        pw_registry_add_listener(m_registry.get(), &m_registryListener, &registryEvents, this);

        PipeWireFormats::Parameters offers;
        // A region is cropped in plain memory.
        offers.addFormats(m_settings.region ? std::span<const GraphicsFormat>() : m_settings.graphics, m_settings.fps);
        // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): the library combines flags like this.
        const auto flags = static_cast<pw_stream_flags>(
            PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_DONT_RECONNECT);
        m_timer = pw_loop_add_timer(pw_thread_loop_get_loop(m_connection.loop.get()), &PipeWireScreenStream::timeCame, this);
        if (pw_stream_connect(
                m_stream.get(), PW_DIRECTION_INPUT, m_source.stream->node(), flags, offers.data(), offers.size())
            < 0)
            throw endedError();
    }

    static void objectCame(void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t, const spa_dict*)
    {
        if (id == of(self).m_source.stream->node() && std::string_view(type) == PW_TYPE_INTERFACE_Node)
            of(self).m_isThere = true;
    }

    static void objectWent(void* self, std::uint32_t id)
    {
        if (id == of(self).m_source.stream->node())
            of(self).end(endedError());
    }

    static void stateChanged(void* self, pw_stream_state before, pw_stream_state state, const char*)
    {
        auto& stream = of(self);
        if (state == PW_STREAM_STATE_ERROR)
            stream.end(stream.isShared() && !stream.hasBegun() ? undeliveredError() : endedError());
        else if (state == PW_STREAM_STATE_UNCONNECTED && before != PW_STREAM_STATE_UNCONNECTED)
            stream.end(endedError());
        else if (state == PW_STREAM_STATE_STREAMING)
            stream.begin();
    }

    /// Whether the shared node still exists. Its number may have been reused for this stream's own node.
    bool isShared() const { return m_isThere && pw_stream_get_node_id(m_stream.get()) != m_source.stream->node(); }

    bool hasBegun() const
    {
        const std::lock_guard lock(m_mutex);
        return m_streaming;
    }

    void begin()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_streaming = true;
        }
        m_changed.notify_all();
    }

    void end(const Error& error)
    {
        bool hadBegun = false;
        {
            const std::lock_guard lock(m_mutex);
            if (m_end)
                return;
            m_end = error;
            hadBegun = m_streaming;
        }
        m_changed.notify_all();
        // Otherwise `start` throws it.
        if (hadBegun && m_receiver.ended)
            m_receiver.ended(std::make_exception_ptr(error));
    }

    static void formatChanged(void* self, std::uint32_t id, const spa_pod* param)
    {
        auto& stream = of(self);
        spa_video_info_raw format{};
        if (!param || id != SPA_PARAM_Format || spa_format_video_raw_parse(param, &format) < 0)
            return;
        {
            const std::lock_guard lock(stream.m_mutex);
            stream.m_format = format;
        }
        stream.m_graphics = PipeWireFormats::graphicsFormat(format);
        PipeWireFormats::Parameters wanted;
        wanted.addBuffers(stream.m_graphics.has_value());
        pw_stream_update_params(stream.m_stream.get(), wanted.data(), wanted.size());
        stream.m_changed.notify_all();
    }

    static void bufferCame(void* self, pw_buffer* /*buffer*/) { ++of(self).m_buffers; }

    /// The producer exited or replaces its buffers.
    static void bufferWent(void* self, pw_buffer* buffer)
    {
        --of(self).m_buffers;
        of(self).m_loans->forget(buffer);
        if (of(self).m_newest == buffer)
            of(self).m_newest = nullptr;
    }

    static void frameCame(void* self)
    {
        auto& stream = of(self);
        while (pw_buffer* next = pw_stream_dequeue_buffer(stream.m_stream.get())) {
            stream.readPointer(*next->buffer);
            // Some buffers carry only the pointer; the last frame stays the newest.
            if (!hasFrame(*next->buffer)) {
                pw_stream_queue_buffer(stream.m_stream.get(), next);
                continue;
            }
            stream.giveBack();
            stream.m_newest = next;
        }
        stream.deliverNewest();
    }

    static void timeCame(void* self, std::uint64_t /*expirations*/) { of(self).deliverNewest(); }

    void giveBack()
    {
        if (m_newest)
            pw_stream_queue_buffer(m_stream.get(), std::exchange(m_newest, nullptr));
    }

    /// Delivers the newest frame. Delays an early one, because no other may follow it.
    void deliverNewest()
    {
        if (!m_newest)
            return;
        const CaptureTime now = CaptureClock::now();
        if (now < m_notBefore)
            return wakeAt(m_notBefore - now);
        if (m_graphics)
            return lendNewest(now);
        const auto frame = m_pool.take();
        if (!frame)
            return wakeAt(m_interval); // The encoder is behind; retry later.
        if (draw(*m_newest->buffer, *frame))
            deliver(frame, now);
        giveBack();
    }

    void deliver(std::shared_ptr<const FrameMemory> frame, CaptureTime now)
    {
        // Tolerates half an interval, so that slight jitter drops no frames.
        m_notBefore = std::max(m_notBefore, now - m_interval / 2) + m_interval;
        m_receiver.frame({.memory = std::move(frame), .time = now});
    }

    /// Delivers the newest frame in its graphics memory, which the receiver returns later.
    void lendNewest(CaptureTime now)
    {
        if (m_buffers < minBuffersToLend || !isWhole(*m_newest->buffer))
            m_loans->refuse();
        if (m_loans->isRefused())
            return giveBack(); // Frames in plain memory follow.
        if (m_loans->count() + buffersToDraw >= m_buffers)
            return wakeAt(m_interval); // The encoder is behind; retry later.
        auto graphics = std::make_shared<GraphicsFrame>(
            GraphicsFrame{.format = *m_graphics, .size = formatSize(), .planes = {}, .loan = {}, .refuse = {}});
        const auto& buffer = *m_newest->buffer;
        for (const spa_data& data : std::span(buffer.datas, buffer.n_datas))
            graphics->planes.push_back({.memory = UniqueFd(::fcntl(static_cast<int>(data.fd), F_DUPFD_CLOEXEC, 0)),
                .offset = data.chunk->offset,
                .stride = static_cast<std::uint32_t>(data.chunk->stride)});
        graphics->loan = m_loans->lend(std::exchange(m_newest, nullptr));
        graphics->refuse = [loans = m_loans] { loans->refuse(); };
        {
            const std::lock_guard lock(m_mutex);
            m_drawn = Drawn{.part = {.width = static_cast<double>(formatSize().width),
                                .height = static_cast<double>(formatSize().height)},
                .place = FramePlace::fitted(formatSize(), m_settings.size)};
        }
        deliver(std::make_shared<FrameMemory>(m_settings.size, std::move(graphics)), now);
    }

    /// Whether a frame shows the shared source alone.
    bool isWhole(const spa_buffer& buffer) const
    {
        FrameFitter::Source whole{.data = nullptr, .stride = 0, .size = formatSize()};
        crop(buffer, whole);
        return whole.size == formatSize();
    }

    /// Lent buffers have come back, or the receiver wants plain memory.
    void loansChanged()
    {
        for (pw_buffer* buffer : m_loans->takeReturned())
            pw_stream_queue_buffer(m_stream.get(), buffer);
        if (!m_loans->isRefused() || std::exchange(m_offersPlainOnly, true))
            return;
        PipeWireFormats::Parameters offers;
        offers.addFormats({}, m_settings.fps);
        pw_stream_update_params(m_stream.get(), offers.data(), offers.size());
    }

    void wakeAt(CaptureClock::duration after)
    {
        const auto delay = std::max(std::chrono::nanoseconds(after), std::chrono::nanoseconds(1));
        const auto seconds = std::chrono::floor<std::chrono::seconds>(delay);
        timespec when{.tv_sec = seconds.count(), .tv_nsec = (delay - seconds).count()};
        pw_loop_update_timer(pw_thread_loop_get_loop(m_connection.loop.get()), m_timer, &when, nullptr, false);
    }

    void readPointer(const spa_buffer& buffer)
    {
        const auto* cursor = static_cast<const spa_meta_cursor*>(
            spa_buffer_find_meta_data(&buffer, SPA_META_Cursor, sizeof(spa_meta_cursor)));
        if (!cursor)
            return;
        const std::lock_guard lock(m_mutex);
        // An invalid cursor is outside the shared area.
        if (!spa_meta_cursor_is_valid(cursor))
            m_pointer.reset();
        else
            m_pointer = Point{.x = static_cast<double>(cursor->position.x), .y = static_cast<double>(cursor->position.y)};
    }

    static bool hasFrame(const spa_buffer& buffer)
    {
        if (buffer.n_datas == 0)
            return false;
        const spa_data& data = buffer.datas[0];
        const auto* header = static_cast<const spa_meta_header*>(
            spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
        // Not every desktop reports the length of a frame in graphics memory.
        const bool hasBytes = data.type == SPA_DATA_DmaBuf ? data.fd >= 0 : data.data && data.chunk->size > 0;
        const bool isBroken = (header && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0)
            || (static_cast<std::uint32_t>(data.chunk->flags) & SPA_CHUNK_FLAG_CORRUPTED) != 0;
        return hasBytes && !isBroken;
    }

    /// Returns false for a frame that is smaller than it claims, which would be read past its end.
    bool draw(const spa_buffer& buffer, FrameMemory& frame)
    {
        using Order = FrameFitter::Source::Order;
        const bool isBlueFirst = m_format.format == SPA_VIDEO_FORMAT_BGRx || m_format.format == SPA_VIDEO_FORMAT_BGRA;
        const spa_data& data = buffer.datas[0];
        FrameFitter::Source source{.data = static_cast<const std::uint8_t*>(data.data) + data.chunk->offset,
            .stride = data.chunk->stride,
            .size = formatSize(), // Changed only by this thread.
            .order = isBlueFirst ? Order::blueGreenRed : Order::redGreenBlue};
        if (source.stride == 0)
            source.stride = 4 * source.size.width;
        const auto needed = static_cast<std::size_t>(source.stride) * static_cast<std::size_t>(source.size.height - 1)
            + std::size_t{4} * static_cast<std::size_t>(source.size.width);
        if (source.stride < 4 * source.size.width || data.chunk->offset + needed > data.maxsize)
            return false;
        const Rect part = crop(buffer, source);
        const auto place = m_fitter.draw(source, frame);
        const std::lock_guard lock(m_mutex);
        m_drawn = Drawn{.part = part, .place = place};
        return true;
    }

    /// Crops a frame to the shared source and that to the region. Returns the shared source, in frame pixels.
    Rect crop(const spa_buffer& buffer, FrameFitter::Source& source) const
    {
        Rect part{.width = static_cast<double>(source.size.width), .height = static_cast<double>(source.size.height)};
        const auto cut = [&source](int x, int y, int width, int height) {
            x = std::clamp(x, 0, source.size.width - 1);
            y = std::clamp(y, 0, source.size.height - 1);
            source.data += std::ptrdiff_t{y} * source.stride + std::ptrdiff_t{4} * x;
            source.size = {.width = std::clamp(width, 1, source.size.width - x),
                .height = std::clamp(height, 1, source.size.height - y)};
            return Rect{.x = static_cast<double>(x),
                .y = static_cast<double>(y),
                .width = static_cast<double>(source.size.width),
                .height = static_cast<double>(source.size.height)};
        };
        const auto* region = static_cast<const spa_meta_region*>(
            spa_buffer_find_meta_data(&buffer, SPA_META_VideoCrop, sizeof(spa_meta_region)));
        if (region && spa_meta_region_is_valid(region))
            part = cut(region->region.position.x, region->region.position.y, static_cast<int>(region->region.size.width),
                static_cast<int>(region->region.size.height));
        if (const auto& wanted = m_settings.region) {
            const double scale = m_source.scale;
            cut(wholePixels((wanted->x - m_source.rect.x) * scale), wholePixels((wanted->y - m_source.rect.y) * scale),
                wholePixels(wanted->width * scale), wholePixels(wanted->height * scale));
        }
        return part;
    }

    const CaptureSource m_source;
    const Settings m_settings;
    Receiver m_receiver;

    // Used only by the loop's thread.
    FramePool m_pool;
    FrameFitter m_fitter;
    CaptureClock::duration m_interval;
    CaptureTime m_notBefore;
    pw_buffer* m_newest = nullptr; ///< The frame waiting for its time.
    std::optional<GraphicsFormat> m_graphics; ///< The format of the frames, if they are in graphics memory.
    std::size_t m_buffers = 0;
    bool m_offersPlainOnly = false;
    spa_source* m_timer = nullptr;
    bool m_isThere = false; ///< The shared node was in the registry.

    mutable std::mutex m_mutex; ///< Guards the members below.
    std::condition_variable m_changed;
    spa_video_info_raw m_format{};
    std::optional<Point> m_pointer; ///< In pixels of the newest frame.
    struct Drawn {
        Rect part; ///< The shared source, in pixels of the stream's frame.
        FramePlace place; ///< Its place in the delivered frame.
    };
    std::optional<Drawn> m_drawn; ///< The last frame.
    bool m_streaming = false; ///< Frames may arrive.
    std::optional<Error> m_end; ///< The reason for the end.

    PipeWireStream::Connection& m_connection; ///< Owned by the source.
    spa_hook m_listener{};
    spa_hook m_registryListener{};
    std::shared_ptr<PipeWireLoans> m_loans; ///< Shared with the delivered frames.
    PipeWire::Registry m_registry;
    PipeWire::Stream m_stream;
};

} // namespace

std::unique_ptr<ScreenStream> openPipeWireScreenStream(const CaptureSource& source, const ScreenStream::Settings& settings)
{
    return std::make_unique<PipeWireScreenStream>(source, settings);
}

PipeWireStream::Look PipeWireStream::look(const std::shared_ptr<const PipeWireStream>& stream, FrameSize maxSize,
    std::chrono::milliseconds patience, const std::stop_token& stop)
{
    std::mutex mutex;
    std::condition_variable_any changed;
    CapturedFrame first;
    std::exception_ptr failure;
    PipeWireScreenStream source({.stream = stream}, {.size = maxSize});
    source.start({.frame =
                      [&](CapturedFrame frame) {
                          const std::lock_guard lock(mutex);
                          first = std::move(frame);
                          changed.notify_all();
                      },
        .ended =
            [&](std::exception_ptr error) {
                const std::lock_guard lock(mutex);
                failure = std::move(error);
                changed.notify_all();
            }});
    std::unique_lock lock(mutex);
    changed.wait_for(lock, stop, patience, [&] { return first.memory || failure; });
    if (stop.stop_requested())
        throw Cancelled();
    if (failure)
        std::rethrow_exception(failure);
    Look look{.size = source.sourceSize(), .frame = {}};
    if (first.memory)
        look.frame = frameOf(*first.memory, FramePlace::fitted(look.size, maxSize));
    return look;
}

} // namespace orvo
