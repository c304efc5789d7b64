#include "OrvoVideo/capture/pointer/EvdevPresses.h"

#include "OrvoVideo/capture/pointer/PressListener.h"
#include "OrvoVideo/capture/pointer/WakeUp.h"
#include "VideoCore/UniqueFd.h"

#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <map>
#include <optional>
#include <poll.h>
#include <sys/inotify.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvo {

namespace fs = std::filesystem;

namespace {

struct FreeDevice {
    void operator()(libevdev* device) const noexcept { libevdev_free(device); }
};

struct Device {
    UniqueFd descriptor;
    std::unique_ptr<libevdev, FreeDevice> events; ///< Reads from the descriptor.
};

/// Returns nullopt for a device that cannot be read or is not a pointing device.
std::optional<Device> openDevice(const fs::path& file)
{
    UniqueFd descriptor(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    libevdev* raw = nullptr;
    if (!descriptor || libevdev_new_from_fd(descriptor.get(), &raw) < 0)
        return std::nullopt;
    Device device{.descriptor = std::move(descriptor), .events{raw}};
    const bool moves = libevdev_has_event_type(raw, EV_REL) != 0 || libevdev_has_event_type(raw, EV_ABS) != 0;
    if (!moves || libevdev_has_event_code(raw, EV_KEY, BTN_LEFT) == 0)
        return std::nullopt;
    return device;
}

bool isEventFile(const fs::path& file)
{
    return file.filename().string().starts_with("event");
}

} // namespace

class EvdevPresses::Reader {
public:
    explicit Reader(const fs::path& folder)
        : m_folder(folder)
        , m_watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        // A device may become readable only after its creation, when udev sets its permissions.
        ::inotify_add_watch(m_watch.get(), folder.c_str(), IN_CREATE | IN_ATTRIB | IN_DELETE);
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(folder, error))
            add(entry.path());
    }

    ~Reader()
    {
        if (m_thread.joinable()) {
            m_thread.request_stop();
            m_wakeUp.call();
            m_thread.join();
        }
    }

    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    bool hasDevices() const noexcept { return !m_devices.empty(); }

    void start()
    {
        m_thread = std::jthread([this](const std::stop_token& stop) { read(stop); });
    }

    PressListener listener;

private:
    void add(const fs::path& file)
    {
        if (!isEventFile(file) || m_devices.contains(file))
            return;
        if (auto device = openDevice(file))
            m_devices.emplace(file, std::move(*device));
    }

    void read(const std::stop_token& stop)
    {
        while (!stop.stop_requested()) {
            std::vector<pollfd> sources{
                {.fd = m_wakeUp.descriptor(), .events = POLLIN}, {.fd = m_watch.get(), .events = POLLIN}};
            for (const auto& [file, device] : m_devices)
                sources.push_back({.fd = device.descriptor.get(), .events = POLLIN});
            ::poll(sources.data(), sources.size(), -1);
            std::erase_if(m_devices, [this](const auto& entry) { return !readDevice(*entry.second.events); });
            readChanges();
        }
    }

    /// Returns false when the device is gone.
    bool readDevice(libevdev& device)
    {
        while (true) {
            input_event event{};
            const int status = libevdev_next_event(&device, LIBEVDEV_READ_FLAG_NORMAL, &event);
            if (status == LIBEVDEV_READ_STATUS_SYNC) {
                // Events were dropped: presses reported while resynchronising did not happen now.
                while (libevdev_next_event(&device, LIBEVDEV_READ_FLAG_SYNC, &event) == LIBEVDEV_READ_STATUS_SYNC) { }
                continue;
            }
            if (status != LIBEVDEV_READ_STATUS_SUCCESS)
                return status == -EAGAIN || status == -EINTR;
            const bool isPress = event.type == EV_KEY && event.value == 1;
            if (isPress && (event.code == BTN_LEFT || event.code == BTN_RIGHT))
                listener.notify();
        }
    }

    void readChanges()
    {
        alignas(inotify_event) char buffer[4096];
        for (ssize_t length = 0; (length = ::read(m_watch.get(), buffer, sizeof buffer)) > 0;) {
            for (const char* at = buffer; at < buffer + length;) {
                const auto& change = *reinterpret_cast<const inotify_event*>(at);
                if (change.len > 0 && (change.mask & IN_DELETE) == 0)
                    add(m_folder / change.name);
                at += sizeof(inotify_event) + change.len;
            }
        }
    }

    fs::path m_folder;
    UniqueFd m_watch;
    WakeUp m_wakeUp;
    std::map<fs::path, Device> m_devices; ///< Owned by the thread once it runs.
    std::jthread m_thread;
};

std::unique_ptr<EvdevPresses> EvdevPresses::open(const fs::path& folder)
{
    auto reader = std::make_unique<Reader>(folder);
    if (!reader->hasDevices())
        return nullptr;
    reader->start();
    return std::unique_ptr<EvdevPresses>(new EvdevPresses(std::move(reader)));
}

EvdevPresses::EvdevPresses(std::unique_ptr<Reader> reader)
    : m_reader(std::move(reader))
{
}

EvdevPresses::~EvdevPresses() = default;

void EvdevPresses::onPress(std::function<void()> pressed)
{
    m_reader->listener.set(std::move(pressed));
}

} // namespace orvo
