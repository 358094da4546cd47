#include "client/shared_image.h"

#include "client/commands.h"
#include "client/failure.h"
#include "client/picture_file.h"
#include "client/published_image.h"
#include "client/text.h"

#include <oleauto.h>

#include <memory>
#include <new>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

static_assert(static_cast<int>(Encoding::Unsigned) == Tavlo_Unsigned);
static_assert(static_cast<int>(Encoding::Signed) == Tavlo_Signed);
static_assert(static_cast<int>(Encoding::Float) == Tavlo_Float);
static_assert(static_cast<int>(Encoding::RGB) == Tavlo_RGB);
static_assert(static_cast<int>(Encoding::RGBA) == Tavlo_RGBA);
static_assert(static_cast<int>(Encoding::BGR) == Tavlo_BGR);
static_assert(static_cast<int>(Encoding::Data) == Tavlo_Data);
static_assert(static_cast<int>(Encoding::ComplexFloat) == Tavlo_Complex_Float);
static_assert(static_cast<int>(Encoding::ComplexFloatHalfEven) == Tavlo_Complex_Float_Half_Even);
static_assert(static_cast<int>(Encoding::BGRA) == Tavlo_BGRA);
static_assert(static_cast<int>(Encoding::FloatVector2D) == Tavlo_Float_Vector2D);
static_assert(static_cast<int>(Encoding::FloatVector3D) == Tavlo_Float_Vector3D);
static_assert(static_cast<int>(Encoding::FloatVector4D) == Tavlo_Float_Vector4D);
static_assert(static_cast<int>(Encoding::ComplexFloatHalfOdd) == Tavlo_Complex_Float_Half_Odd);

struct StringFreer
{
    void operator()(wchar_t* text) const noexcept { SysFreeString(text); }
};
using String = std::unique_ptr<wchar_t, StringFreer>;

String MakeString(std::wstring_view text)
{
    String string(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
    if (!string)
        throw std::bad_alloc();
    return string;
}

ComPtr<ITavloDescriptor2> MakeDescriptor(const Descriptor& descriptor)
{
    constexpr std::string_view purpose = "describe the image";
    ComPtr<ITavloDescriptor2> object;
    Check(CoCreateInstance(CLSID_TavloDescriptor2, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)),
          purpose);
    Check(object->put_Width(descriptor.width), purpose);
    Check(object->put_Height(descriptor.height), purpose);
    Check(object->put_Bits(descriptor.bits), purpose);
    Check(object->put_Encoding(static_cast<TavloEncoding>(descriptor.encoding)), purpose);
    Check(object->put_Offset(descriptor.offset), purpose);
    Check(object->put_Stride_x(descriptor.strideX), purpose);
    Check(object->put_Stride_y(descriptor.strideY), purpose);
    return object;
}

/// The bytes from base on that can be read. A view is one region, as long as its
/// section in whole pages.
std::int64_t ReadableBytes(const void* base)
{
    MEMORY_BASIC_INFORMATION region;
    if (VirtualQuery(base, &region, sizeof region) == 0)
        ThrowLastError("find the size of the section");
    const auto skipped =
        static_cast<const std::uint8_t*>(base) - static_cast<const std::uint8_t*>(region.BaseAddress);
    return region.State == MEM_COMMIT ? static_cast<std::int64_t>(region.RegionSize) - skipped : 0;
}

void CheckSamples(const Descriptor& descriptor, std::int64_t sampleSize, const void* base,
                  std::string_view purpose)
{
    const ByteRange range = BytesTouched(descriptor, sampleSize);
    const std::int64_t size = ReadableBytes(base);
    if (range.begin < 0 || range.end > size) {
        throw Failure(E_INVALIDARG, purpose,
                      "the descriptor needs the bytes " + std::to_string(range.begin) + " to " +
                          std::to_string(range.end) + ", but the section has the bytes 0 to " +
                          std::to_string(size));
    }
}

} // namespace

ComPtr<ITavlo2> Adopt(ITavloFactory2& factory, std::wstring_view section, const Descriptor& descriptor,
                      TavloAccess access)
{
    const ComPtr<ITavloDescriptor2> geometry = MakeDescriptor(descriptor);
    const String name = MakeString(section);
    ComPtr<ITavlo2> image;
    Check(factory.Adopt(name.get(), geometry.Get(), access, &image), "open section '" + Utf8(section) + "'");
    return image;
}

ComPtr<ITavlo2> Create(ITavloFactory2& factory, const Descriptor& descriptor, TavloAccess access)
{
    const ComPtr<ITavloDescriptor2> geometry = MakeDescriptor(descriptor);
    ComPtr<ITavlo2> image;
    Check(factory.Create(geometry.Get(), access, &image), "create an image");
    return image;
}

Descriptor GeometryOf(ITavlo2& image)
{
    constexpr std::string_view purpose = "read the image's geometry";
    ComPtr<ITavloDescriptor2> object;
    Check(image.get_Descriptor(&object), purpose);
    TavloEncoding encoding = Tavlo_Data;
    Check(object->get_Encoding(&encoding), purpose);
    const auto number = [&](HRESULT (STDMETHODCALLTYPE ITavloDescriptor2::*get)(LONG*)) {
        LONG value = 0;
        Check((object.Get()->*get)(&value), purpose);
        return static_cast<std::int32_t>(value);
    };
    return {
        .width = number(&ITavloDescriptor2::get_Width),
        .height = number(&ITavloDescriptor2::get_Height),
        .bits = number(&ITavloDescriptor2::get_Bits),
        .encoding = static_cast<Encoding>(encoding),
        .offset = number(&ITavloDescriptor2::get_Offset),
        .strideX = number(&ITavloDescriptor2::get_Stride_x),
        .strideY = number(&ITavloDescriptor2::get_Stride_y),
    };
}

OpenedImage Open(const ImageOptions& options)
{
    if (options.name.empty()) {
        const ComPtr<ITavloFactory2> factory = CreateFactory();
        return {Adopt(*factory.Get(), Wide(options.section), options.descriptor, Tavlo_ReadOnly),
                options.descriptor};
    }
    const ComPtr<ITavlo2> image = BindImage(Wide(options.name));
    return {image, GeometryOf(*image.Get())};
}

std::int32_t SizeFor(ITavloFactory2& factory, const Descriptor& descriptor)
{
    LONG size = 0;
    Check(factory.GetSizeFor(descriptor.width, descriptor.height, descriptor.strideX, descriptor.strideY,
                             &size),
          "compute the image's size");
    return size;
}

void Fill(ITavlo2& image, const PictureFile& picture, std::int32_t size)
{
    ComPtr<IWriteAccessor> access;
    Check(image.GetWriteAccess(&access), "write the image");
    picture.CopyTo({static_cast<std::uint8_t*>(access->Ptr(0)), static_cast<std::size_t>(size)});
    Check(access->Invalidate(nullptr), "report the image's change");
}

Reader::Reader(ITavlo2& image, const Descriptor& descriptor, std::int64_t sampleSize)
{
    constexpr std::string_view purpose = "read the image";
    Check(image.GetReadAccess(nullptr, 1.0, &access_), purpose);
    base_ = static_cast<const std::uint8_t*>(access_->Ptr(0));
    CheckSamples(descriptor, sampleSize, base_, purpose);
}

Writer::Writer(ITavlo2& image, const Descriptor& descriptor, std::int64_t sampleSize)
{
    constexpr std::string_view purpose = "write the image";
    const HRESULT result = image.GetWriteAccess(&access_);
    if (result == E_ACCESSDENIED)
        throw Failure(result, purpose, "it is read-only, or it has a writer already");
    Check(result, purpose);
    base_ = static_cast<std::uint8_t*>(access_->Ptr(0));
    CheckSamples(descriptor, sampleSize, base_, purpose);
}

void Writer::Invalidate(const Rectangle& changed) const
{
    RECT dirty = {changed.left, changed.top, changed.right, changed.bottom};
    Check(access_->Invalidate(&dirty), "report the image's change");
}

} // namespace Mardu::Sentel::Tavlo::Client
