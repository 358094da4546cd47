#pragma once

#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// The text of a script: UTF-16 where its mark says so, else UTF-8, with its mark or
/// without, or, where that is none, the system's own code page.
std::wstring ScriptText(const std::string& bytes);

/// The text of the script in a file.
std::wstring ReadScript(const std::wstring& file);

} // namespace Mardu::Sentel::Tavlo::Client
