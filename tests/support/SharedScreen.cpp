#include "SharedScreen.h"

#include "TestSupport/Waiting.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvo::test {

class SharedScreen::Stream {
public:
    explicit Stream(const Form& form)
        : draws(form.draws)
        , m_form(form)
    {
        pw_init(nullptr, nullptr);
        m_loop = pw_thread_loop_new("shared screen", nullptr);
        m_context = pw_context_new(pw_thread_loop_get_loop(m_loop), nullptr, 0);
        m_core = pw_context_connect_fd(m_context, connection(), nullptr, 0);
        if (!m_core)
            throw std::runtime_error("there is no PipeWire");
        m_stream = pw_stream_new(m_core, "shared screen",
            pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_NODE_NAME, "shared-screen", nullptr));
        static constexpr pw_stream_events events{.version = PW_VERSION_STREAM_EVENTS,
            .param_changed = &Stream::formatChanged,
            .add_buffer = &Stream::bufferCame,
            .remove_buffer = &Stream::bufferWent};
        pw_stream_add_listener(m_stream, &m_listener, &events, this);
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), memory.size());
        std::vector<const spa_pod*> offers;
        if (form.graphics)
            offers.push_back(offer(builder, Modifier::open));
        offers.push_back(offer(builder, Modifier::none));
        pw_stream_connect(m_stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(
                PW_STREAM_FLAG_DRIVER | (form.graphics ? PW_STREAM_FLAG_ALLOC_BUFFERS : PW_STREAM_FLAG_MAP_BUFFERS)),
            offers.data(), static_cast<std::uint32_t>(offers.size()));
        pw_thread_loop_start(m_loop);
        m_drawing = std::jthread([this](const std::stop_token& stop) { draw(stop); });
    }

    ~Stream()
    {
        m_drawing.request_stop();
        m_drawing.join();
        pw_thread_loop_stop(m_loop);
        pw_stream_destroy(m_stream);
        pw_core_disconnect(m_core);
        pw_context_destroy(m_context);
        pw_thread_loop_destroy(m_loop);
    }

    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    std::uint32_t node() const
    {
        std::uint32_t id = SPA_ID_INVALID;
        const auto hasNode = [&] {
            pw_thread_loop_lock(m_loop);
            id = pw_stream_get_node_id(m_stream);
            pw_thread_loop_unlock(m_loop);
            return id != SPA_ID_INVALID;
        };
        if (!pollUntil(hasNode))
            throw std::runtime_error("the stream gets no node");
        return id;
    }

    void moveWindow(const Part& part)
    {
        pw_thread_loop_lock(m_loop);
        m_form.window = part;
        pw_thread_loop_unlock(m_loop);
    }

    std::atomic<bool> draws;
    std::atomic<bool> turns = false;
    std::atomic<bool> hasPointer = true;
    std::atomic<int> x = 0;
    std::atomic<int> y = 0;

    std::atomic<int> inGraphics = 0; ///< Frames sent in memory announced as graphics memory.
    std::atomic<int> inMemory = 0; ///< Frames sent in plain memory.

private:
    /// The modifier of a format: none (plain memory), open to negotiation, or the chosen one.
    enum class Modifier : std::uint8_t { none, open, chosen };
    static constexpr std::int64_t linear = 0;

    const spa_pod* offer(spa_pod_builder& builder, Modifier modifier) const
    {
        const spa_rectangle size{m_form.width, m_form.height};
        const spa_fraction rate{30, 1};
        static constexpr std::array orders{SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_RGBx, SPA_VIDEO_FORMAT_NV12};
        const auto order = orders.at(static_cast<std::size_t>(m_form.order));
        spa_pod_frame whole{};
        spa_pod_builder_push_object(&builder, &whole, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype,
            SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format, SPA_POD_Id(order), SPA_FORMAT_VIDEO_size,
            SPA_POD_Rectangle(&size), SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
        if (modifier == Modifier::chosen) {
            spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_modifier, SPA_POD_PROP_FLAG_MANDATORY);
            spa_pod_builder_long(&builder, linear);
        } else if (modifier == Modifier::open) {
            spa_pod_builder_prop(
                &builder, SPA_FORMAT_VIDEO_modifier, SPA_POD_PROP_FLAG_MANDATORY | SPA_POD_PROP_FLAG_DONT_FIXATE);
            spa_pod_frame choice{};
            spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
            for (const std::int64_t one : {linear, linear, std::int64_t{1} << 56 | 1})
                spa_pod_builder_long(&builder, one);
            spa_pod_builder_pop(&builder, &choice);
        }
        return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &whole));
    }

    /// Allocates the buffers as a graphics driver does, but in system memory.
    static void bufferCame(void* self, pw_buffer* buffer)
    {
        const auto& stream = *static_cast<Stream*>(self);
        if (!stream.m_form.graphics)
            return;
        spa_data& data = buffer->buffer->datas[0];
        const std::size_t size = std::size_t{4} * stream.m_form.width * stream.m_form.height;
        data.type = stream.m_sendsGraphics ? SPA_DATA_DmaBuf : SPA_DATA_MemFd;
        data.flags = SPA_DATA_FLAG_READWRITE;
        data.fd = ::memfd_create("frame", MFD_CLOEXEC);
        data.maxsize = static_cast<std::uint32_t>(size);
        data.mapoffset = 0;
        if (::ftruncate(static_cast<int>(data.fd), static_cast<off_t>(size)) == 0)
            data.data = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, static_cast<int>(data.fd), 0);
    }

    static void bufferWent(void* self, pw_buffer* buffer)
    {
        if (!static_cast<Stream*>(self)->m_form.graphics)
            return;
        const spa_data& data = buffer->buffer->datas[0];
        ::munmap(data.data, data.maxsize);
        ::close(static_cast<int>(data.fd));
    }

    static void formatChanged(void* self, std::uint32_t id, const spa_pod* param)
    {
        auto& stream = *static_cast<Stream*>(self);
        if (!param || id != SPA_PARAM_Format)
            return;
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), memory.size());
        const spa_pod_prop* modifier = spa_pod_find_prop(param, nullptr, SPA_FORMAT_VIDEO_modifier);
        if (modifier && (modifier->flags & SPA_POD_PROP_FLAG_DONT_FIXATE) != 0) {
            std::array chosen{stream.offer(builder, Modifier::chosen), stream.offer(builder, Modifier::none)};
            pw_stream_update_params(stream.m_stream, chosen.data(), static_cast<std::uint32_t>(chosen.size()));
            return;
        }
        stream.m_sendsGraphics = modifier != nullptr;
        const int kind = 1 << (modifier ? SPA_DATA_DmaBuf : SPA_DATA_MemFd);
        const auto width = static_cast<int>(stream.m_form.width);
        const auto height = static_cast<int>(stream.m_form.height);
        std::array<const spa_pod*, 3> params{
            static_cast<spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,
                SPA_PARAM_META_type, SPA_POD_Id(SPA_META_VideoCrop), SPA_PARAM_META_size,
                SPA_POD_Int(static_cast<int>(sizeof(spa_meta_region))))),
            static_cast<spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers,
                SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(8, 2, 8), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
                SPA_PARAM_BUFFERS_size, SPA_POD_Int(width * 4 * height), SPA_PARAM_BUFFERS_stride, SPA_POD_Int(width * 4),
                SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(kind))),
            static_cast<spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,
                SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Cursor), SPA_PARAM_META_size,
                SPA_POD_Int(
                    static_cast<int>(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + std::size_t{64} * 64 * 4))))};
        pw_stream_update_params(stream.m_stream, params.data(), static_cast<std::uint32_t>(params.size()));
    }

    void draw(const std::stop_token& stop)
    {
        while (!stop.stop_requested()) {
            if (turns.exchange(false)) {
                m_turned = true;
                send(Content::frame);
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                // A busy consumer may hold every buffer; the last frame is sent all the same.
                while (!send(Content::turned) && !stop.stop_requested())
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
            send(m_turned ? Content::nothing : Content::frame);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    enum class Content : std::uint8_t { frame, turned, nothing };

    /// Returns false if there was no buffer, or nobody reads the stream.
    bool send(Content content)
    {
        bool isSent = false;
        pw_thread_loop_lock(m_loop);
        if (draws && pw_stream_get_state(m_stream, nullptr) == PW_STREAM_STATE_STREAMING) {
            if (pw_buffer* buffer = pw_stream_dequeue_buffer(m_stream)) {
                fill(*buffer->buffer, content);
                ++(m_sendsGraphics ? inGraphics : inMemory);
                pw_stream_queue_buffer(m_stream, buffer);
                isSent = true;
            }
            pw_stream_trigger_process(m_stream);
        }
        pw_thread_loop_unlock(m_loop);
        return isSent;
    }

    void fill(const spa_buffer& buffer, Content content)
    {
        const spa_data& data = buffer.datas[0];
        auto* pixels = static_cast<std::uint8_t*>(data.data);
        if (!pixels)
            return;
        const bool isBlueFirst = (m_form.order == Order::blueGreenRed) != (content == Content::turned);
        const std::size_t red = isBlueFirst ? 2 : 0;
        const int width = static_cast<int>(m_form.width);
        const int height = static_cast<int>(m_form.height);
        const Part part = m_form.window.value_or(Part{.width = width, .height = height});
        for (int line = 0; line < height; ++line) {
            for (int column = 0; column < width; ++column) {
                const bool isInside =
                    column >= part.x && column < part.x + part.width && line >= part.y && line < part.y + part.height;
                const std::size_t colour = column < part.x + part.width / 2 ? red : 2 - red;
                std::uint8_t* pixel = pixels + std::ptrdiff_t{4} * (std::ptrdiff_t{line} * width + column);
                std::memset(pixel, 0, 4);
                pixel[isInside ? colour : 1] = 255;
            }
        }
        if (auto* crop = static_cast<spa_meta_region*>(
                spa_buffer_find_meta_data(&buffer, SPA_META_VideoCrop, sizeof(spa_meta_region)))) {
            if (m_form.window)
                crop->region = {.position = {part.x, part.y},
                    .size = {static_cast<std::uint32_t>(part.width), static_cast<std::uint32_t>(part.height)}};
            else
                crop->region = {};
        }
        data.chunk->offset = 0;
        data.chunk->size = content == Content::nothing ? 0 : m_form.width * m_form.height * 4;
        data.chunk->stride = static_cast<std::int32_t>(m_form.width * 4);
        if (auto* cursor = static_cast<spa_meta_cursor*>(
                spa_buffer_find_meta_data(&buffer, SPA_META_Cursor, sizeof(spa_meta_cursor)))) {
            cursor->id = hasPointer ? 1 : 0;
            cursor->position = {x, y};
            cursor->bitmap_offset = 0;
        }
    }

    Form m_form;
    bool m_sendsGraphics = false;
    bool m_turned = false; ///< Used by the drawing thread only.
    pw_thread_loop* m_loop = nullptr;
    pw_context* m_context = nullptr;
    pw_core* m_core = nullptr;
    pw_stream* m_stream = nullptr;
    spa_hook m_listener{};
    std::jthread m_drawing;
};

SharedScreen::SharedScreen(const Form& form)
    : m_stream(std::make_unique<Stream>(form))
{
}

SharedScreen::~SharedScreen() = default;

int SharedScreen::connection()
{
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/pipewire-0";
    path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    if (pollUntil([&] { return ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0; }))
        return descriptor;
    ::close(descriptor);
    throw std::runtime_error("there is no PipeWire");
}

std::uint32_t SharedScreen::node() const
{
    return m_stream->node();
}

int SharedScreen::framesInGraphicsMemory() const
{
    return m_stream->inGraphics;
}

int SharedScreen::framesInMemory() const
{
    return m_stream->inMemory;
}

void SharedScreen::beginToDraw()
{
    m_stream->draws = true;
}

void SharedScreen::losePointer()
{
    m_stream->hasPointer = false;
}

void SharedScreen::turnForGood()
{
    m_stream->turns = true;
}

void SharedScreen::moveWindow(const Part& part)
{
    m_stream->moveWindow(part);
}

void SharedScreen::movePointer(int x, int y)
{
    m_stream->x = x;
    m_stream->y = y;
}

} // namespace orvo::test
