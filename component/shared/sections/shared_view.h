#pragma once

#include "module/handle.h"

#include <memory>
#include <string>

namespace Mardu::Sentel::Tavlo {

/// A mapped view of a section that images and accessors own together. The process knows every
/// living one by its address.
using SharedView = std::shared_ptr<void>;

/// Makes the view known as one of the section that travels under this name.
SharedView ShareView(UniqueView view, std::wstring mapName);

/// A living view by what a packet says of it; null when there is none at that address, or one of
/// another name: a packet's sender may have lied, or the view has gone meanwhile.
SharedView FindView(const void* address, const std::wstring& mapName);

} // namespace Mardu::Sentel::Tavlo
