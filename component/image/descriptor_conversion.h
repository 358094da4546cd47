#pragma once

#include "image/layout.h"
#include "module/object.h"

#include "TavloLib.h"

namespace Mardu::Sentel::Tavlo {

// Layouts are read through the interface, so that any implementation of it will do. The
// first failing getter's HRESULT is thrown.

ImageLayout ReadLayout(ITavloDescriptor* descriptor);
ImageLayout ReadLayout(ITavloDescriptor2* descriptor);

/// A new descriptor object that holds a copy of the layout.
ComPtr<ITavloDescriptor> NewDescriptor(const ImageLayout& layout);

/// The same for the only channel of a layout; any other number of channels throws
/// E_INVALIDARG.
ComPtr<ITavloDescriptor2> NewDescriptor2(const ImageLayout& layout);

} // namespace Mardu::Sentel::Tavlo
