#pragma once

namespace orvo::ExtensionMark {

/// Whether a browser's extension has called the helper of this user before. Any thread.
bool exists();

/// Notes that it has. Returns whether this is the first time; false, too, where nothing can be written. Any thread.
bool leave() noexcept;

} // namespace orvo::ExtensionMark
