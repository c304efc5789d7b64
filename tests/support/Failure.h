#pragma once

#include "VideoCore/Error.h"

#include <exception>
#include <string>

namespace orvo::test {

/// The description of what an action throws; empty when it throws nothing.
template <typename Action> std::string failureOf(const Action& action)
{
    try {
        action();
    } catch (const std::exception& error) {
        return describe(error);
    }
    return {};
}

} // namespace orvo::test
