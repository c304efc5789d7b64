#include "OrvoVideo/capture/pointer/X11PointerMonitor.h"

#include "OrvoVideo/capture/pointer/PressListener.h"
#include "OrvoVideo/capture/pointer/WakeUp.h"
#include "Platform/desktop/Xcb.h"

#include <array>
#include <poll.h>
#include <thread>
#include <xcb/xinput.h>

namespace orvo {

namespace {

constexpr std::uint32_t leftButton = 1;
constexpr std::uint32_t rightButton = 3;

/// Selects raw button events of all pointers. Needs XInput 2.2, which delivers them even while another client grabs the
/// pointer; returns false without it.
bool selectPresses(const XcbDisplay& display)
{
    auto* connection = display.get();
    const auto* extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (!extension || !extension->present)
        return false;
    const XcbHandle<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
    if (!version || version->major_version < 2 || (version->major_version == 2 && version->minor_version < 2))
        return false;
    const struct {
        xcb_input_event_mask_t head{.deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1};
        std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
    } wanted;
    const XcbHandle<xcb_generic_error_t> refused(
        xcb_request_check(connection, xcb_input_xi_select_events_checked(connection, display.root, 1, &wanted.head)));
    return !refused;
}

} // namespace

struct X11PointerMonitor::Display : XcbDisplay { };

class X11PointerMonitor::Presses {
public:
    explicit Presses(XcbDisplay display)
        : m_display(std::move(display))
        , m_inputExtension(xcb_get_extension_data(m_display.get(), &xcb_input_id)->major_opcode)
        , m_thread([this](const std::stop_token& stop) { listen(stop); })
    {
    }

    ~Presses()
    {
        m_thread.request_stop();
        m_wakeUp.call();
    }

    PressListener listener;

private:
    void listen(const std::stop_token& stop)
    {
        std::array<pollfd, 2> sources{{{.fd = xcb_get_file_descriptor(m_display.get()), .events = POLLIN},
            {.fd = m_wakeUp.descriptor(), .events = POLLIN}}};
        while (!stop.stop_requested() && xcb_connection_has_error(m_display.get()) == 0) {
            while (const XcbHandle<xcb_generic_event_t> event{xcb_poll_for_event(m_display.get())})
                take(*event);
            ::poll(sources.data(), sources.size(), -1);
        }
    }

    void take(const xcb_generic_event_t& event)
    {
        if ((event.response_type & 0x7f) != XCB_GE_GENERIC)
            return;
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
        if (generic.extension != m_inputExtension || generic.event_type != XCB_INPUT_RAW_BUTTON_PRESS)
            return;
        const auto button = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event).detail;
        if (button == leftButton || button == rightButton)
            listener.notify();
    }

    XcbDisplay m_display;
    std::uint8_t m_inputExtension;
    WakeUp m_wakeUp;
    std::jthread m_thread; ///< Last member: stops before the others are destroyed.
};

std::unique_ptr<X11PointerMonitor> X11PointerMonitor::open()
{
    auto display = XcbDisplay::open();
    if (!display)
        return nullptr;
    auto second = XcbDisplay::open();
    std::unique_ptr<Presses> presses;
    if (second && selectPresses(second))
        presses = std::make_unique<Presses>(std::move(second));
    return std::unique_ptr<X11PointerMonitor>(
        new X11PointerMonitor(std::make_unique<Display>(std::move(display)), std::move(presses)));
}

X11PointerMonitor::X11PointerMonitor(std::unique_ptr<Display> display, std::unique_ptr<Presses> presses)
    : m_display(std::move(display))
    , m_presses(std::move(presses))
{
}

X11PointerMonitor::~X11PointerMonitor() = default;

std::optional<Point> X11PointerMonitor::position()
{
    auto* connection = m_display->get();
    const XcbHandle<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, m_display->root), nullptr));
    if (!pointer)
        return std::nullopt;
    return Point{static_cast<double>(pointer->root_x), static_cast<double>(pointer->root_y)};
}

void X11PointerMonitor::onPress(std::function<void()> pressed)
{
    if (m_presses)
        m_presses->listener.set(std::move(pressed));
}

bool X11PointerMonitor::seesPresses() const
{
    return m_presses != nullptr;
}

} // namespace orvo
