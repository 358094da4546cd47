#include "addressor/image_binding.h"

#include "image/extent.h"
#include "module/error.h"
#include "module/foreign_call.h"
#include "module/mapped_memory.h"

#include <stdexcept>

namespace Mardu::Sentel::Tavlo {
namespace {

/// Makes the typed accessor of an image's element type.
template <template <class> class TypedAccessor, class Typed>
std::unique_ptr<Typed> MakeTyped(PixelType type, const ElementGrid& grid)
{
    switch (type) {
    case PixelType::unsigned8:
        return std::make_unique<TypedAccessor<unsigned char>>(grid);
    case PixelType::unsigned16:
        return std::make_unique<TypedAccessor<unsigned short>>(grid);
    case PixelType::unsigned32:
        return std::make_unique<TypedAccessor<unsigned int>>(grid);
    case PixelType::signed8:
        return std::make_unique<TypedAccessor<signed char>>(grid);
    case PixelType::signed16:
        return std::make_unique<TypedAccessor<short>>(grid);
    case PixelType::signed32:
        return std::make_unique<TypedAccessor<int>>(grid);
    case PixelType::float32:
        return std::make_unique<TypedAccessor<float>>(grid);
    case PixelType::float64:
        return std::make_unique<TypedAccessor<double>>(grid);
    case PixelType::rgb:
        return std::make_unique<TypedAccessor<rgb_type<unsigned char>>>(grid);
    case PixelType::rgba:
        return std::make_unique<TypedAccessor<rgba_type<unsigned char>>>(grid);
    case PixelType::bgr:
        return std::make_unique<TypedAccessor<bgr_type<unsigned char>>>(grid);
    case PixelType::bgra:
        return std::make_unique<TypedAccessor<bgra_type<unsigned char>>>(grid);
    default:
        throw std::invalid_argument("Unsupported Tavlo Encoding");
    }
}

/// Whether the object lives in another apartment, process or machine, and this is its proxy.
bool IsFromElsewhere(IUnknown* object)
{
    ComPtr<IClientSecurity> proxy;
    return SUCCEEDED(
        object->QueryInterface(IID_IClientSecurity, reinterpret_cast<void**>(proxy.GetAddressOf())));
}

template <class Binding>
TavloDescriptorData GeometryOf(const Binding& binding, std::int32_t bits, std::int32_t encoding) noexcept
{
    return {binding.width,
            binding.height,
            bits,
            encoding,
            static_cast<std::int32_t>(binding.offset),
            static_cast<std::int32_t>(binding.strideX),
            static_cast<std::int32_t>(binding.strideY)};
}

template <class Binding>
void ReadDescriptor(Binding& binding)
{
    ComPtr<ITavloDescriptor2> descriptor;
    CheckHResult(CallForeign([&] { return binding.image->get_Descriptor(&descriptor); }));
    const auto read = [&](auto getter) {
        long value = 0;
        CheckHResult(CallForeign([&] { return (descriptor.Get()->*getter)(&value); }));
        return static_cast<std::int32_t>(value);
    };
    binding.strideY = read(&ITavloDescriptor2::get_Stride_y);
    binding.strideX = read(&ITavloDescriptor2::get_Stride_x);
    binding.offset = read(&ITavloDescriptor2::get_Offset);
    binding.height = read(&ITavloDescriptor2::get_Height);
    binding.width = read(&ITavloDescriptor2::get_Width);
    const std::int32_t bits = read(&ITavloDescriptor2::get_Bits);
    ::TavloEncoding encoding = {};
    CheckHResult(CallForeign([&] { return descriptor->get_Encoding(&encoding); }));
    binding.pixelType = PixelTypeOf(static_cast<std::int32_t>(encoding), bits);
    const TavloDescriptorData geometry = GeometryOf(binding, bits, static_cast<std::int32_t>(encoding));
    const std::uint64_t mapped = MappedBytes(binding.base);
    if (IsFromElsewhere(binding.image.Get()))
        RequireWithin(geometry, mapped);
    binding.liesInMemory = LiesWithin(geometry, mapped);
}

template <class Access>
std::uint8_t* PixelsOf(Access* accessor)
{
    void* pixels = nullptr;
    CheckHResult(CallForeign([&] {
        pixels = accessor->Ptr(0);
        return S_OK;
    }));
    return static_cast<std::uint8_t*>(pixels);
}

template <class Binding>
ElementGrid GridOf(const Binding& binding)
{
    return {binding.width, binding.height, binding.base + binding.offset, binding.strideX, binding.strideY};
}

ComPtr<ITavlo2> NotNull(ITavlo2* image)
{
    if (image == nullptr)
        throw std::invalid_argument("null ITavlo2");
    return image;
}

} // namespace

std::unique_ptr<ReadBinding> BindForReading(ITavlo2* image)
{
    auto binding = std::make_unique<ReadBinding>();
    binding->image = NotNull(image);
    CheckHResult(CallForeign([&] { return image->GetReadAccess(nullptr, 1.0, &binding->accessor); }));
    binding->base = PixelsOf(binding->accessor.Get());
    ReadDescriptor(*binding);
    binding->typed = MakeTyped<ConstAddressor, ConstAddressorBase>(binding->pixelType, GridOf(*binding));
    return binding;
}

std::unique_ptr<WriteBinding> BindForWriting(ITavlo2* image)
{
    auto binding = std::make_unique<WriteBinding>();
    binding->image = NotNull(image);
    CheckHResult(CallForeign([&] { return image->GetWriteAccess(&binding->accessor); }));
    binding->base = PixelsOf(binding->accessor.Get());
    ReadDescriptor(*binding);
    binding->typed = MakeTyped<Addressor, AddressorBase>(binding->pixelType, GridOf(*binding));
    return binding;
}

} // namespace Mardu::Sentel::Tavlo
