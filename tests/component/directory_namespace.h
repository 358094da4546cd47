#pragma once

#include "module/handle.h"
#include "shared/sections/private_namespace.h"
#include "tests/component/replaced_import.h"

#include <windows.h>

#include <string>

// Private namespaces for a platform that lacks them: a directory of named objects beside
// the session's own, so that names with the alias in front work in every process that can
// open the directory. What happens to it is counted in a section that processes share.

/// What all processes did.
struct NamespaceCounts
{
    LONG opened;
    LONG created;
    LONG refused;      ///< creations that failed
    LONG inside;       ///< processes that are between opening and creating at this moment
    LONG mostInside;   ///< the most there ever were
    LONG closed;       ///< ends of an opened or created directory
    LONG closedFlags;  ///< all flags that were given with them
    LONG boundaries;   ///< boundary descriptors that live
    LONG lastBoundary; ///< closed at the time when a boundary descriptor was deleted last
};

/// Makes or opens the section of the counts under this name, and counts into it from now
/// on until the process ends.
NamespaceCounts& CountInto(const std::wstring& name);

/// The six functions; they need counts to count into.
Mardu::Sentel::Tavlo::PrivateNamespaceApi DirectoryNamespaceApi() noexcept;

/// The directory of an alias, opened, or made when nobody has it open.
Mardu::UniqueHandle OpenOrMakeDirectory(const std::wstring& alias);

/// For as long as it lives, who looks the six functions up finds these.
class FoundNamespaceFunctions
{
public:
    explicit FoundNamespaceFunctions(const Mardu::Sentel::Tavlo::PrivateNamespaceApi& api);

private:
    ReplacedImport<decltype(GetProcAddress)> replaced_;
};
