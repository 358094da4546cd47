#pragma once

#include <cstddef>

namespace Mardu::Sentel::Tavlo {

/// Where a packet's bytes come from.
class ByteSource
{
public:
    /// Fills all of data, or throws.
    virtual void Read(void* data, std::size_t bytes) = 0;

protected:
    ~ByteSource() = default;
};

} // namespace Mardu::Sentel::Tavlo
