#pragma once

#include "module/handle.h"

#include <cstdint>
#include <string>

namespace Mardu::Sentel::Tavlo {

/// A section that was made for an image.
struct NewSection
{
    std::wstring name; ///< the bare GUID text, without any prefix
    UniqueHandle mapping;
};

/// The full name of a section: the prefix, a backslash and the name; without a prefix
/// the name alone.
std::wstring PrefixedName(const std::wstring& prefix, const std::wstring& name);

/// Makes a page-file-backed section of this many bytes under a new GUID name, open to
/// everyone, its handle inheritable. Throws the platform's error, also for a size of 0.
NewSection CreateSection(const std::wstring& prefix, std::int64_t bytes);

/// Opens a section with all access rights under the name exactly as given; null, with the
/// last error, when it cannot. Names that no section can have are not cut to another one's.
UniqueHandle TryOpenSection(const std::wstring& name) noexcept;

/// The same; throws the platform's error.
UniqueHandle OpenSection(const std::wstring& name);

/// Maps the whole section for reading and writing; throws the platform's error.
UniqueView MapWholeSection(HANDLE mapping);

} // namespace Mardu::Sentel::Tavlo
