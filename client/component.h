#pragma once

#include "client/failure.h"
#include "client/text.h"

#include <tavlo/tavlo.hpp>

#include <string_view>
#include <wrl/client.h>

namespace Mardu::Sentel::Tavlo::Client {

using Microsoft::WRL::ComPtr;

/// Does something with the component, whose errors become Failures. what continues
/// "cannot ".
template <class Action>
auto Attempt(std::string_view what, Action action) -> decltype(action())
{
    try {
        return action();
    } catch (const tavlo::error& error) {
        throw Failure(error.code(), what, Utf8(error.description()));
    }
}

} // namespace Mardu::Sentel::Tavlo::Client
