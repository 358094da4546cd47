#include "client/view/viewed_image.h"

#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/images/published_image.h"
#include "client/images/published_name.h"
#include "client/pictures/picture_file.h"

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

bool IsFile(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

ViewedImage OpenPicture(const std::wstring& path, const PartsDone& rowsRead)
{
    const PictureFile picture(path);
    ViewedImage viewed;
    viewed.title = path.substr(path.find_last_of(L"\\/") + 1);
    viewed.descriptor = picture.Geometry();
    viewed.image = Create(viewed.descriptor, Tavlo_SingleWriter);
    Fill(viewed.image, picture, rowsRead);
    return viewed;
}

/// Nobody tells of changes there: it is shown as it is.
ViewedImage OpenSection(const ImageOptions& options)
{
    auto [image, descriptor] = Open(options);
    ViewedImage viewed;
    viewed.title = ToUtf16(options.section);
    viewed.image = std::move(image);
    viewed.descriptor = descriptor;
    return viewed;
}

ViewedImage OpenPublished(const std::string& name, std::string_view what)
{
    const std::string purpose = "view '" + name + "'";
    if (const std::string why = WhyNotAName(name); !why.empty())
        throw Failure(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), purpose, "there is no such picture");
    ViewedImage viewed;
    viewed.title = ToUtf16(name);
    try {
        viewed.image = BindImage(viewed.title);
    } catch (const Failure& failure) {
        if (failure.Result() != MK_E_UNAVAILABLE)
            throw;
        throw Failure(failure.Result(), purpose, std::string(what) + "no image is published by this name");
    }
    viewed.descriptor = GeometryOf(*viewed.image.get());
    viewed.isShared = true;
    viewed.process = PublisherOf(viewed.title);
    return viewed;
}

} // namespace

ViewedImage OpenViewedImage(const ImageOptions& options, const PartsDone& rowsRead)
{
    const std::string what = options.argument.value_or(options.name + options.section);
    const bool isPicture = options.argument && IsFile(ToUtf16(what));
    ViewedImage viewed = isPicture                  ? OpenPicture(ToUtf16(what), rowsRead)
                         : !options.section.empty() ? OpenSection(options)
                         : options.argument         ? OpenPublished(what, "there is no such picture, and ")
                                                    : OpenPublished(what, "");
    if (viewed.descriptor.width < 1 || viewed.descriptor.height < 1)
        throw Failure(E_INVALIDARG, "view '" + what + "'", "the image has no pixels");
    const std::optional<SampleType> type = SampleTypeOf(viewed.descriptor);
    if (!type || !RouteOf(viewed.descriptor.Type())) {
        throw Failure(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), "view '" + what + "'",
                      "there is no conversion from " + PixelTypeText(viewed.descriptor.Type()) +
                          " pixels into colours");
    }
    viewed.reader.emplace(viewed.image, viewed.descriptor, type->Size());
    return viewed;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
