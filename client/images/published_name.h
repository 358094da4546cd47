#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// Why an image cannot be published under this name; empty when it can.
std::string WhyNotAName(std::string_view name);

/// The item of the moniker under which the image of this name, which is UTF-8, is in the
/// running object table. It is ASCII, since monikers travel between processes without
/// the rest on some systems: other bytes, '%' and '!' are written as % and two digits.
/// The platform compares items without regard to case.
std::wstring ImageItem(std::string_view name);

/// The item that tells which process publishes the image of this name.
std::wstring ProcessItem(std::string_view name, std::uint32_t process);

/// The name in an image's item; nothing for other items.
std::optional<std::string> NameInImageItem(std::wstring_view item);

/// What a process's item says.
struct PublishingProcess
{
    std::uint32_t process = 0;
    std::string name;
};

/// Nothing for other items.
std::optional<PublishingProcess> ReadProcessItem(std::wstring_view item);

} // namespace Mardu::Sentel::Tavlo::Client
