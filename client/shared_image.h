#pragma once

#include "client/descriptor.h"

#include <windows.h>

#include <TavloLib.h>
#include <wrl/client.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

using Microsoft::WRL::ComPtr;

ComPtr<ITavloFactory2> CreateFactory();

/// An image over the section of this name, which stays as it is when this fails.
ComPtr<ITavlo2> Adopt(ITavloFactory2& factory, std::wstring_view section, const Descriptor& descriptor,
                      TavloAccess access);

/// Read access to an image of which every sample is known to lie in its section.
class Reader
{
public:
    /// Throws a Failure when the samples, of sampleSize bytes each, are not all there.
    Reader(ITavlo2& image, const Descriptor& descriptor, std::int64_t sampleSize);

    /// Byte 0 of the image's memory.
    const std::uint8_t* Base() const noexcept { return base_; }

private:
    ComPtr<IReadAccessor> access_;
    const std::uint8_t* base_;
};

} // namespace Mardu::Sentel::Tavlo::Client
