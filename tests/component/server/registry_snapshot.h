#pragma once

#include <windows.h>

#include <map>
#include <string>

/// Every key below a root, by its path in lower case, with its values by name. The
/// default value's name is empty; values that are no text are written as their size.
using RegistrySnapshot = std::map<std::wstring, std::map<std::wstring, std::wstring>>;

RegistrySnapshot TakeSnapshot(HKEY root, const std::wstring& path);

/// The keys and values of after that before does not have, or has otherwise.
RegistrySnapshot Added(const RegistrySnapshot& before, const RegistrySnapshot& after);

/// Paths and names are compared in lower case.
std::wstring LowerCase(std::wstring text);
