#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvo {

/// Whether other frames depend on this coded H.264 frame, so that a decoder needs it: the nal_ref_idc of its first slice
/// (ITU-T H.264, 7.4.1). Returns true when it cannot be determined.
///
/// `lengthBytes` is the size of the length before each NAL unit; 0 for start codes.
bool isReferenceFrame(std::span<const std::uint8_t> frame, std::size_t lengthBytes);

} // namespace orvo
