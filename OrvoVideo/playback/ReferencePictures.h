#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvo {

/// Whether other pictures are predicted from this coded H.264 picture, so that a decoder must not miss it: the nal_ref_idc
/// of its first slice (ITU-T H.264, 7.4.1). What cannot be told counts as yes.
///
/// `lengthBytes` is the size of the length before each unit of the picture; 0 when start codes part them.
bool isReferencePicture(std::span<const std::uint8_t> picture, std::size_t lengthBytes);

} // namespace orvo
