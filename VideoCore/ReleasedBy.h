#pragma once

namespace orvo {

/// A deleter for `std::unique_ptr` that passes the object of a C library to the library's own function.
template <auto Function> struct ReleasedBy {
    template <typename T> void operator()(T* object) const { Function(object); }
};

} // namespace orvo
