#pragma once

#include <iterator>
#include <string>
#include <vector>

namespace orvo {

/// The arguments of a program, without its name.
using Arguments = std::vector<std::string>;

inline void append(Arguments& arguments, Arguments more)
{
    arguments.insert(arguments.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

} // namespace orvo
