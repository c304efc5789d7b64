#include "OrvoVideo/capture/screen/PipeWireFormats.h"

#include <algorithm>
#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

namespace orvo {

namespace PipeWireFormats {

namespace {

constexpr std::uint32_t maxCursorSide = 256; ///< Pixels; the cursor's bitmap comes with its position, though it is not used.
constexpr std::size_t maxModifiers = 64; ///< Per format.

struct Order {
    spa_video_format format;
    std::uint32_t code; ///< DRM fourcc code.
};

constexpr std::array<Order, 4> orders{{
    {SPA_VIDEO_FORMAT_BGRx, GraphicsFormat::codeOf("XR24")},
    {SPA_VIDEO_FORMAT_BGRA, GraphicsFormat::codeOf("AR24")},
    {SPA_VIDEO_FORMAT_RGBx, GraphicsFormat::codeOf("XB24")},
    {SPA_VIDEO_FORMAT_RGBA, GraphicsFormat::codeOf("AB24")},
}};

/// Begins a format of any size.
void begin(spa_pod_builder& builder, spa_pod_frame& frame, int fps)
{
    const spa_rectangle usual{1920, 1080};
    const spa_rectangle minSize{1, 1};
    const spa_rectangle maxSize{16384, 16384};
    const spa_fraction rate{static_cast<std::uint32_t>(fps), 1};
    const spa_fraction anyRate{0, 1};
    const spa_fraction maxRate{1000, 1};
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype,
        SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_size, SPA_POD_CHOICE_RANGE_Rectangle(&usual, &minSize, &maxSize),
        SPA_FORMAT_VIDEO_framerate, SPA_POD_CHOICE_RANGE_Fraction(&rate, &anyRate, &maxRate), 0);
}

} // namespace

void Parameters::addFormats(std::span<const GraphicsFormat> graphics, int fps)
{
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, m_memory.data() + m_used, static_cast<std::uint32_t>(m_memory.size() - m_used));
    spa_pod_frame whole{};
    for (const auto& [format, code] : orders) {
        std::vector<std::uint64_t> modifiers;
        for (const auto& one : graphics) {
            if (one.code == code && modifiers.size() < maxModifiers)
                modifiers.push_back(one.modifier);
        }
        if (modifiers.empty())
            continue;
        begin(builder, whole, fps);
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format, SPA_POD_Id(format), 0);
        // The desktop, which allocates the memory, chooses among them.
        spa_pod_builder_prop(
            &builder, SPA_FORMAT_VIDEO_modifier, SPA_POD_PROP_FLAG_MANDATORY | SPA_POD_PROP_FLAG_DONT_FIXATE);
        spa_pod_frame choice{};
        spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
        spa_pod_builder_long(&builder, static_cast<std::int64_t>(modifiers.front())); // The default.
        for (const auto modifier : modifiers)
            spa_pod_builder_long(&builder, static_cast<std::int64_t>(modifier));
        spa_pod_builder_pop(&builder, &choice);
        m_all.push_back(static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &whole)));
    }
    begin(builder, whole, fps);
    spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format,
        SPA_POD_CHOICE_ENUM_Id(5, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx,
            SPA_VIDEO_FORMAT_RGBA),
        0);
    m_all.push_back(static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &whole)));
    m_used += builder.state.offset;
}

void Parameters::addBuffers(bool inGraphicsMemory)
{
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, m_memory.data() + m_used, static_cast<std::uint32_t>(m_memory.size() - m_used));
    const int kinds = inGraphicsMemory ? 1 << SPA_DATA_DmaBuf : (1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd);
    const auto cursorBytes = [](std::uint32_t side) {
        return static_cast<int>(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + std::size_t{4} * side * side);
    };
    const auto add = [this](void* parameter) { m_all.push_back(static_cast<const spa_pod*>(parameter)); };
    add(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(8, 2, 16), SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(kinds)));
    add(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
        SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size, SPA_POD_Int(static_cast<int>(sizeof(spa_meta_header)))));
    add(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
        SPA_POD_Id(SPA_META_VideoCrop), SPA_PARAM_META_size, SPA_POD_Int(static_cast<int>(sizeof(spa_meta_region)))));
    add(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
        SPA_POD_Id(SPA_META_Cursor), SPA_PARAM_META_size,
        SPA_POD_CHOICE_RANGE_Int(cursorBytes(64), cursorBytes(1), cursorBytes(maxCursorSide))));
    m_used += builder.state.offset;
}

std::optional<GraphicsFormat> graphicsFormat(const spa_video_info_raw& agreed)
{
    const auto* order = std::ranges::find(orders, agreed.format, &Order::format);
    if ((agreed.flags & SPA_VIDEO_FLAG_MODIFIER) == 0 || order == orders.end())
        return std::nullopt;
    return GraphicsFormat{.code = order->code, .modifier = agreed.modifier};
}

} // namespace PipeWireFormats

} // namespace orvo
