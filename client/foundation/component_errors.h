#pragma once

#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"

#include <tavlo/tavlo.hpp>

#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// Does something with the component, whose errors become Failures. what continues
/// "cannot ".
template <class Action>
auto Attempt(std::string_view what, Action action) -> decltype(action())
{
    try {
        return action();
    } catch (const tavlo::error& error) {
        throw Failure(error.code(), what, ToUtf8(error.description()));
    }
}

/// Puts this thread into an apartment of the component runtime, for as long as the result lives.
inline tavlo::apartment EnterApartment(COINIT kind)
{
    return Attempt("start the component runtime", [kind] { return tavlo::apartment(kind); });
}

} // namespace Mardu::Sentel::Tavlo::Client
