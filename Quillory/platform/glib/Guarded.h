#pragma once

#include <cstdio>
#include <exception>
#include <functional>
#include <utility>

namespace quillory {

// Calls `function` for a C library, out of whose callbacks nothing may be thrown. What is thrown, such as for want of
// memory that a page or a file asked for, is said on standard error; the call then has an empty result, and the
// program goes on.
template<typename Function, typename... Arguments>
std::invoke_result_t<const Function&, Arguments...> guarded(const Function& function, Arguments&&... arguments) noexcept
{
    try {
        return std::invoke(function, std::forward<Arguments>(arguments)...);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillory: something had to be given up: %s\n", error.what());
        return std::invoke_result_t<const Function&, Arguments...>();
    }
}

}
