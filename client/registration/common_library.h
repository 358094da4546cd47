#pragma once

#include "client/command_line/console.h"

#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// The file of the common type library, which describes the rectangles of events.
inline constexpr wchar_t commonLibraryFile[] = L"SentelCommon.tlb";

/// What is done where another file is registered as the common type library: other components
/// share it.
enum class OtherLibrary
{
    Keep,   ///< also by registering, as long as that file can be read
    Replace ///< or remove
};

/// Registers a common type library for this user or for all, and says so, or that another one was
/// kept.
void RegisterCommonLibrary(std::wstring file, OtherLibrary other, bool isForUser, const Console& console);

/// Undoes it in the same place, or says that it is not registered there, or that another one was kept.
void UnregisterCommonLibrary(const std::wstring& file, OtherLibrary other, bool isForUser,
                             const Console& console);

/// The folder of this program, with a separator at its end. An installation has
/// everything in it.
std::wstring ProgramFolder();

} // namespace Mardu::Sentel::Tavlo::Client
