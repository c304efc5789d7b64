#pragma once

#include "VideoCore/Error.h"

#include <exception>
#include <string>

namespace orvo::test {

/// The description of the exception that an action throws; empty if it does not throw.
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
