#pragma once

#include "client/command_line/console.h"

#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// The file of the common type library, which describes the rectangles of events.
inline constexpr wchar_t commonLibraryFile[] = L"SentelCommon.tlb";

/// Registers a common type library for this user or for all, and says so.
void RegisterCommonLibrary(std::wstring file, bool isForUser, const Console& console);

/// Undoes it in the same place, or says that it is not registered there.
void UnregisterCommonLibrary(const std::wstring& file, bool isForUser, const Console& console);

/// The folder of this program, with a separator at its end. An installation has
/// everything in it.
std::wstring ProgramFolder();

} // namespace Mardu::Sentel::Tavlo::Client
