#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvo {

/// Starts a program that outlives this one, in a session of its own, with this process's environment and with /dev/null
/// as its standard streams. Does not wait. Throws `std::system_error` when the program cannot be started.
void startDetached(const std::filesystem::path& program, const std::vector<std::string>& arguments);

} // namespace orvo
