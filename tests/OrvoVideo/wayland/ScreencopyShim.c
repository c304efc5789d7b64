// Loaded into xdg-desktop-portal-wlr for tests. A compositor without a graphics card never reports the dma-buf format of a
// screen, and the portal waits for that before it starts. Reports the format of the shared memory instead.

#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdint.h>
#include <string.h>

typedef void (*Listener)(void);

// Indices in the listener of zwlr_screencopy_frame_v1.
enum { bufferEvent = 0, dmaBufEvent = 5, eventCount = 7 };

static const Listener* original;

static void onBuffer(void* data, void* frame, uint32_t format, uint32_t width, uint32_t height, uint32_t stride)
{
    typedef void (*Buffer)(void*, void*, uint32_t, uint32_t, uint32_t, uint32_t);
    typedef void (*DmaBuf)(void*, void*, uint32_t, uint32_t, uint32_t);
    ((Buffer)original[bufferEvent])(data, frame, format, width, height, stride);
    // The two formats that every compositor supports have other codes in shared memory.
    const uint32_t code = format == 0 ? 0x34325241 : format == 1 ? 0x34325258 : format;
    ((DmaBuf)original[dmaBufEvent])(data, frame, code, width, height);
}

int wl_proxy_add_listener(void* proxy, Listener* listener, void* data)
{
    int (*add)(void*, Listener*, void*) = (int (*)(void*, Listener*, void*))dlsym(RTLD_NEXT, "wl_proxy_add_listener");
    const char* (*className)(void*) = (const char* (*)(void*))dlsym(RTLD_NEXT, "wl_proxy_get_class");
    static Listener replaced[eventCount];
    if (strcmp(className(proxy), "zwlr_screencopy_frame_v1") != 0)
        return add(proxy, listener, data);
    original = listener;
    memcpy(replaced, listener, sizeof replaced);
    replaced[bufferEvent] = (Listener)onBuffer;
    return add(proxy, replaced, data);
}
