#include "OrvoVideo/capture/screen/X11ScreenStream.h"

#include "OrvoVideo/capture/pointer/WakeUp.h"
#include "OrvoVideo/capture/screen/FrameFitter.h"
#include "OrvoVideo/capture/screen/X11Frame.h"
#include "OrvoVideo/capture/screen/X11Target.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <poll.h>
#include <thread>
#include <utility>
#include <xcb/damage.h>
#include <xcb/randr.h>

namespace orvo {

namespace {

using namespace std::chrono_literals;

/// Programs draw in several requests: waits this long after the first change for the others.
constexpr auto settling = 3ms;

using Event = XcbHandle<xcb_generic_event_t>;

class X11ScreenStream final : public ScreenStream {
public:
    X11ScreenStream(const CaptureSource& source, const Settings& settings)
        : m_target(m_connection, source, settings.region)
        , m_camera(m_connection)
        , m_pool(settings.size)
        , m_interval(captureLength(1.0 / settings.fps))
        , m_frameSize(settings.size)
    {
        updateView();
        const auto depth = m_connection.screen().root_depth;
        if (!m_connection.hasPlainPixels(depth))
            throw captureError("La pantalla usa un formato de color que no se puede grabar.");
        watchChanges();
    }

    ~X11ScreenStream() override
    {
        m_thread.request_stop();
        m_wakeUp.call();
    }

    void start(Receiver receiver) override
    {
        m_receiver = std::move(receiver);
        m_thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
    }

    View view() const override
    {
        const std::lock_guard lock(m_viewMutex);
        return m_view;
    }

private:
    void watchChanges()
    {
        xcb_connection_t* connection = m_connection.get();
        m_damage = xcb_generate_id(connection);
        xcb_damage_create(connection, m_damage, m_target.watched(), XCB_DAMAGE_REPORT_LEVEL_BOUNDING_BOX);
        const std::uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        // The root window reports changes of the monitors.
        xcb_change_window_attributes(connection, m_target.watched(), XCB_CW_EVENT_MASK, &structure);
        xcb_randr_select_input(connection, m_connection.root(),
            XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
        m_firstDamage = xcb_get_extension_data(connection, &xcb_damage_id)->first_event;
        m_firstRandr = xcb_get_extension_data(connection, &xcb_randr_id)->first_event;
        xcb_flush(connection);
    }

    void run(const std::stop_token& stop)
    {
        try {
            while (!stop.stop_requested()) {
                readEvents();
                if (std::exchange(m_moved, false))
                    updateTarget();
                // A request may have read events into memory, so look there before waiting.
                if (m_changedSince && CaptureClock::now() >= due())
                    takeFrame();
                else
                    waitForSomething();
            }
        } catch (const std::exception&) {
            if (!stop.stop_requested() && m_receiver.ended)
                m_receiver.ended(std::current_exception());
        }
    }

    CaptureTime due() const { return std::max(*m_changedSince + settling, m_notBefore); }

    void waitForSomething()
    {
        if (const auto event = Event(xcb_poll_for_queued_event(m_connection.get())))
            return handle(*event);
        xcb_flush(m_connection.get());
        timespec limit{};
        timespec* until = nullptr;
        if (m_changedSince) {
            const auto left = std::max(due() - CaptureClock::now(), CaptureClock::duration::zero());
            limit.tv_nsec = static_cast<long>(std::chrono::duration_cast<std::chrono::nanoseconds>(left % 1s).count());
            limit.tv_sec = static_cast<time_t>(std::chrono::duration_cast<std::chrono::seconds>(left).count());
            until = &limit;
        }
        std::array<pollfd, 2> watched{{{.fd = xcb_get_file_descriptor(m_connection.get()), .events = POLLIN},
            {.fd = m_wakeUp.descriptor(), .events = POLLIN}}};
        ::ppoll(watched.data(), watched.size(), until, nullptr);
    }

    void readEvents()
    {
        while (const auto event = Event(xcb_poll_for_event(m_connection.get())))
            handle(*event);
        if (xcb_connection_has_error(m_connection.get()) != 0)
            throw captureError("El servidor gráfico ha terminado.");
    }

    void handle(const xcb_generic_event_t& event)
    {
        const int type = event.response_type & 0x7F;
        if (type == m_firstDamage + XCB_DAMAGE_NOTIFY) {
            xcb_damage_notify_event_t damage{};
            std::memcpy(&damage, &event, sizeof damage);
            noteDamage({.x = damage.area.x, .y = damage.area.y, .width = damage.area.width, .height = damage.area.height});
        } else {
            m_moved |= type == m_firstRandr + XCB_RANDR_SCREEN_CHANGE_NOTIFY || type == m_firstRandr + XCB_RANDR_NOTIFY
                || type == XCB_CONFIGURE_NOTIFY || type == XCB_MAP_NOTIFY || type == XCB_UNMAP_NOTIFY
                || type == XCB_DESTROY_NOTIFY || type == XCB_REPARENT_NOTIFY;
        }
    }

    void noteDamage(const PixelRect& area)
    {
        const auto view = m_target.view();
        const bool isInside = view && (m_target.isWindow() || !area.within(view->visible).isEmpty());
        if (!isInside)
            xcb_damage_subtract(m_connection.get(), m_damage, XCB_NONE, XCB_NONE);
        else if (!m_changedSince)
            m_changedSince = CaptureClock::now();
    }

    void updateTarget()
    {
        m_target.update();
        updateView();
        if (m_target.view() && !m_changedSince)
            m_changedSince = CaptureClock::now();
    }

    void updateView()
    {
        const auto target = m_target.view();
        const std::lock_guard lock(m_viewMutex);
        m_view.area = m_target.place().rect();
        if (target) // Otherwise the last frame stays.
            m_view.shown = FramePlace::fitted({target->area.width, target->area.height}, m_frameSize).within(m_frameSize);
    }

    void takeFrame()
    {
        m_changedSince.reset();
        const auto view = m_target.view();
        if (!view)
            return;
        // Takes the time first: changes during the capture belong to the next frame.
        const CaptureTime now = CaptureClock::now();
        // Tolerates half an interval, so that slight jitter drops no frames.
        m_notBefore = std::max(m_notBefore, now - m_interval / 2) + m_interval;
        xcb_damage_subtract(m_connection.get(), m_damage, XCB_NONE, XCB_NONE);
        const auto pixels = m_camera.take(view->drawable, view->visible);
        if (!pixels) {
            // The drawable changed meanwhile; the events about it have arrived or will.
            m_moved = true;
            m_changedSince = now;
            return;
        }
        const auto frame = m_pool.take();
        if (!frame) {
            m_changedSince = now; // The encoder is behind: skips this frame and captures the change later.
            return;
        }
        if (view->visible == view->area)
            m_fitter.draw(
                {.data = pixels->data, .stride = pixels->stride(), .size = {pixels->width, pixels->height}}, *frame);
        else
            drawPart(*pixels, *view, *frame);
        m_receiver.frame({.memory = frame, .time = now});
    }

    /// Draws an area that is only partly visible; the rest is black.
    void drawPart(const X11Pixels& pixels, const X11Target::View& view, FrameMemory& frame)
    {
        const auto stride = 4 * static_cast<std::size_t>(view.area.width);
        m_whole.assign(stride * static_cast<std::size_t>(view.area.height), 0);
        for (int line = 0; line < pixels.height; ++line) {
            const auto place = static_cast<std::size_t>(view.visible.y - view.area.y + line) * stride
                + 4 * static_cast<std::size_t>(view.visible.x - view.area.x);
            std::memcpy(m_whole.data() + place, pixels.data + std::ptrdiff_t{line} * pixels.stride(),
                static_cast<std::size_t>(pixels.stride()));
        }
        m_fitter.draw(
            {.data = m_whole.data(), .stride = static_cast<int>(stride), .size = {view.area.width, view.area.height}},
            frame);
    }

    X11Connection m_connection; ///< Used only by the thread once it runs.
    X11Target m_target;
    X11Frame m_camera;
    FramePool m_pool;
    FrameFitter m_fitter;
    std::vector<std::uint8_t> m_whole;
    CaptureClock::duration m_interval;
    CaptureTime m_notBefore;
    std::optional<CaptureTime> m_changedSince = CaptureClock::now(); ///< Time of the first change that is not captured
                                                                     ///< yet.
    bool m_moved = false;
    xcb_damage_damage_t m_damage = 0;
    int m_firstDamage = 0;
    int m_firstRandr = 0;

    const FrameSize m_frameSize;
    mutable std::mutex m_viewMutex;
    View m_view{.shown = {.width = 1, .height = 1}};

    Receiver m_receiver;
    WakeUp m_wakeUp;
    std::jthread m_thread; ///< Last member: stops before the others are destroyed.
};

} // namespace

std::unique_ptr<ScreenStream> openX11ScreenStream(const CaptureSource& source, const ScreenStream::Settings& settings)
{
    return std::make_unique<X11ScreenStream>(source, settings);
}

} // namespace orvo
