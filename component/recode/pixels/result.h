#pragma once

namespace Mardu::Sentel::Tavlo {

/// How a conversion ended when nothing was thrown. The two refusals carry no text:
/// they are what callers see as E_POINTER and E_INVALIDARG without error information.
enum class [[nodiscard]] RecodeResult{
    done = 0,
    nullPointer,
    invalidArgument,
};

} // namespace Mardu::Sentel::Tavlo
