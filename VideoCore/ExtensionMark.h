#pragma once

namespace orvo::ExtensionMark {

/// Whether the browser extension has ever connected to this user's helper. Any thread.
bool exists();

/// Records a connection. Returns whether it is the first one; false also when the mark cannot be written. Any thread.
bool leave() noexcept;

} // namespace orvo::ExtensionMark
