#pragma once

#include "tests/component/component_test.h"

#include <string>
#include <vector>

/// A type library read back through the platform's own functions, as IDL-like text.
class TypeLibraryText
{
public:
    /// Loads the library of a file without registering it.
    explicit TypeLibraryText(const wchar_t* path);

    /// "name major.minor {identifier} help string"
    std::string Identity() const;

    /// Every type as "kind name", in the library's order.
    std::vector<std::string> Types() const;

    /// One type: a heading, then one line a member in their order. Dual interfaces are
    /// described as the virtual table that they are, with their dispatch identifiers.
    std::string Describe(const std::string& name) const;

    /// The types and members that have no help string, as "type" and "type.member". Records
    /// and the members of records and enumerations have none in any library.
    std::vector<std::string> WithoutHelp() const;

private:
    ComPtr<ITypeLib> library_;
};
