#include "OrvoVideo/gstreamer/GstHandles.h"

#include "VideoCore/Error.h"

#include <format>

namespace orvo {

void startGStreamer()
{
    static const bool started = gst_init_check(nullptr, nullptr, nullptr) != FALSE;
    if (!started)
        throw captureError("No se puede usar GStreamer, que hace falta para grabar y reproducir.");
}

GstElementHandle makeElement(const char* factory)
{
    GstElement* element = gst_element_factory_make(factory, nullptr);
    if (!element)
        throw captureError(std::format("Falta el componente «{}» de GStreamer.", factory));
    return GstElementHandle(GST_ELEMENT(gst_object_ref_sink(element)));
}

GstElement* addElement(GstElement* bin, const char* factory)
{
    GstElement* element = makeElement(factory).release();
    gst_bin_add(GST_BIN(bin), element);
    // The bin holds its own reference.
    gst_object_unref(element);
    return element;
}

} // namespace orvo
