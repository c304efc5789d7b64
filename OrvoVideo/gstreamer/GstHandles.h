#pragma once

// For .cpp files only: no public header may show a GStreamer type.

#include "VideoCore/ReleasedBy.h"

#include <cmath>
#include <gst/gst.h>
#include <memory>
#include <string>

namespace orvo {

/// Sole owners of GStreamer objects.
using GstElementHandle = std::unique_ptr<GstElement, ReleasedBy<gst_object_unref>>;
using GstPadHandle = std::unique_ptr<GstPad, ReleasedBy<gst_object_unref>>;
using GstBusHandle = std::unique_ptr<GstBus, ReleasedBy<gst_object_unref>>;
using GstCapsHandle = std::unique_ptr<GstCaps, ReleasedBy<gst_caps_unref>>;
using GstBufferHandle = std::unique_ptr<GstBuffer, ReleasedBy<gst_buffer_unref>>;
using GstEventHandle = std::unique_ptr<GstEvent, ReleasedBy<gst_event_unref>>;

/// Initialises GStreamer once per process. Throws `captureError` when it is unusable.
void startGStreamer();

/// Creates an element. Throws `captureError` when the system lacks it.
GstElementHandle makeElement(const char* factory);

/// Creates an element and adds it to `bin`, which owns it. Throws as `makeElement`.
GstElement* addElement(GstElement* bin, const char* factory);

/// Maps a buffer for reading while it lives.
class BufferView {
public:
    explicit BufferView(GstBuffer* buffer)
        : m_buffer(buffer)
        , m_mapped(gst_buffer_map(buffer, &m_map, GST_MAP_READ) != FALSE)
    {
    }
    ~BufferView()
    {
        if (m_mapped)
            gst_buffer_unmap(m_buffer, &m_map);
    }
    BufferView(const BufferView&) = delete;
    BufferView& operator=(const BufferView&) = delete;

    const guint8* data() const noexcept { return m_mapped ? m_map.data : nullptr; }
    std::size_t size() const noexcept { return m_mapped ? m_map.size : 0; }

private:
    GstBuffer* m_buffer;
    GstMapInfo m_map{};
    bool m_mapped;
};

inline GstClockTime toClockTime(double seconds)
{
    return seconds <= 0 ? 0 : static_cast<GstClockTime>(std::llround(seconds * static_cast<double>(GST_SECOND)));
}

inline double toSeconds(GstClockTime time)
{
    return static_cast<double>(time) / static_cast<double>(GST_SECOND);
}

} // namespace orvo
