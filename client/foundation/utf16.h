#pragma once

#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// UTF-16 as UTF-8. What is no Unicode becomes replacement characters.
std::string ToUtf8(std::wstring_view text);

/// UTF-8 as UTF-16.
std::wstring ToUtf16(std::string_view text);

/// Whether the text survives the way to UTF-8 and back.
bool IsValidUtf16(std::wstring_view text) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client
