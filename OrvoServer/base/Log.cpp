#include "OrvoServer/base/Log.h"

#include "OrvoServer/base/Json.h"
#include "VideoCore/DateTime.h"

#include <poll.h>
#include <unistd.h>

namespace orvo::server {

void Log::write(std::string_view level, std::string_view event, Fields fields)
{
    if (m_descriptor < 0)
        return;
    JsonWriter line;
    line.open('{').member("time", formatIso8601(now())).member("level", level).member("event", event);
    for (const Field& field : fields)
        std::visit([&](const auto& value) { line.member(field.name, value); }, field.value);
    line.close('}');
    std::string text = line.take();
    text += '\n';
    const std::scoped_lock lock(m_mutex);
    // If nobody reads the other end, dropping the line is better than blocking the server.
    pollfd ready{.fd = m_descriptor, .events = POLLOUT, .revents = 0};
    if (::poll(&ready, 1, 0) != 1 || (ready.revents & POLLOUT) == 0)
        return;
    // A log that cannot be written must not stop the server.
    [[maybe_unused]] const auto written = ::write(m_descriptor, text.data(), text.size());
}

} // namespace orvo::server
