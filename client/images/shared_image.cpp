#include "client/images/shared_image.h"

#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/images/image_options.h"
#include "client/images/published_image.h"
#include "client/pictures/picture_file.h"

#include <string>
#include <utility>

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

constexpr std::string_view reading = "read the image";
constexpr std::string_view writing = "write the image";

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
    if (!HasPixels(descriptor))
        throw Failure(E_INVALIDARG, purpose,
                      "it has " + std::to_string(descriptor.width) + " x " +
                          std::to_string(descriptor.height) + " pixels");
    const ByteRange range = BytesTouched(descriptor, sampleSize);
    const std::int64_t size = ReadableBytes(base);
    if (range.begin < 0 || range.end > size) {
        throw Failure(E_INVALIDARG, purpose,
                      "the descriptor needs the bytes " + std::to_string(range.begin) + " to " +
                          std::to_string(range.end) + ", but the section has the bytes 0 to " +
                          std::to_string(size));
    }
}

tavlo::write_access WriteAccess(const tavlo::image& image)
{
    auto access = Attempt(writing, [&] { return image.try_write(); });
    if (!access)
        throw Failure(E_ACCESSDENIED, writing, "it is read-only, or it has a writer already");
    return std::move(*access);
}

} // namespace

tavlo::descriptor ForComponent(const Descriptor& descriptor) noexcept
{
    return {.width = descriptor.width,
            .height = descriptor.height,
            .encoding = static_cast<TavloEncoding>(descriptor.encoding),
            .bits = descriptor.bits,
            .stride_x = descriptor.strideX,
            .stride_y = descriptor.strideY,
            .offset = descriptor.offset};
}

tavlo::image Adopt(std::wstring_view section, const Descriptor& descriptor, TavloAccess access)
{
    return Attempt("open section '" + ToUtf8(section) + "'",
                   [&] { return tavlo::image::adopt(section, ForComponent(descriptor), access); });
}

tavlo::image Create(const Descriptor& descriptor, TavloAccess access)
{
    return Attempt("create an image", [&] { return tavlo::image::create(ForComponent(descriptor), access); });
}

Descriptor GeometryOf(ITavlo2& image)
{
    return Attempt("read the image's geometry", [&]() -> Descriptor {
        tavlo::com_ptr<ITavloDescriptor2> object;
        tavlo::check(image.get_Descriptor(object.put()), "read the image's geometry");
        const auto geometry = tavlo::descriptor::from(*object.get());
        return {.width = geometry.width,
                .height = geometry.height,
                .bits = geometry.bits,
                .encoding = static_cast<Encoding>(geometry.encoding),
                .offset = geometry.offset,
                .strideX = geometry.stride_x,
                .strideY = geometry.stride_y};
    });
}

OpenedImage Open(const ImageOptions& options, TavloAccess access)
{
    if (options.name.empty()) {
        const Descriptor& geometry = options.descriptor.value();
        return {Adopt(ToUtf16(options.section), geometry, access), geometry};
    }
    tavlo::image image = BindImage(ToUtf16(options.name));
    const Descriptor descriptor = GeometryOf(*image.get());
    return {std::move(image), descriptor};
}

void Fill(const tavlo::image& image, const PictureFile& picture, const PartsDone& rowsDone)
{
    const auto access = Attempt(writing, [&] { return image.write(); });
    picture.CopyTo(
        {static_cast<std::uint8_t*>(access.base()), static_cast<std::size_t>(ImageSize(picture.Geometry()))},
        rowsDone);
    Attempt("report the image's change", [&] { access.invalidate(); });
}

Reader::Reader(const tavlo::image& image, const Descriptor& descriptor, std::int64_t sampleSize)
    : access_(Attempt(reading, [&] { return image.read(); })),
      base_(static_cast<const std::uint8_t*>(access_.base()))
{
    CheckSamples(descriptor, sampleSize, base_, reading);
}

Writer::Writer(const tavlo::image& image, const Descriptor& descriptor, std::int64_t sampleSize)
    : access_(WriteAccess(image)), base_(static_cast<std::uint8_t*>(access_.base()))
{
    CheckSamples(descriptor, sampleSize, base_, writing);
}

void Writer::Invalidate(const Rectangle& changed) const
{
    Attempt("report the image's change", [&] {
        access_.invalidate({changed.left, changed.top, changed.right, changed.bottom});
    });
}

} // namespace Mardu::Sentel::Tavlo::Client
