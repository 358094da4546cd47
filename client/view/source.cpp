#include "client/view/source.h"

#include "client/failure.h"
#include "client/picture_file.h"
#include "client/published_image.h"
#include "client/published_name.h"
#include "client/text.h"

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

bool IsFile(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

Source OpenPicture(const std::wstring& path, const PartsDone& rowsRead)
{
    const PictureFile picture(path);
    Source source;
    source.title = path.substr(path.find_last_of(L"\\/") + 1);
    source.descriptor = picture.Geometry();
    source.image = Create(source.descriptor, Tavlo_SingleWriter);
    Fill(source.image, picture, rowsRead);
    return source;
}

/// Nobody tells of changes there: it is shown as it is.
Source OpenSection(const ImageOptions& options)
{
    auto [image, descriptor] = Open(options);
    Source source;
    source.title = Wide(options.section);
    source.image = std::move(image);
    source.descriptor = descriptor;
    return source;
}

Source OpenPublished(const std::string& name, std::string_view what)
{
    const std::string purpose = "view '" + name + "'";
    if (const std::string why = WhyNotAName(name); !why.empty())
        throw Failure(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), purpose, "there is no such picture");
    Source source;
    source.title = Wide(name);
    try {
        source.image = BindImage(source.title);
    } catch (const Failure& failure) {
        if (failure.Result() != MK_E_UNAVAILABLE)
            throw;
        throw Failure(failure.Result(), purpose, std::string(what) + "no image is published by this name");
    }
    source.descriptor = GeometryOf(*source.image.get());
    source.isShared = true;
    source.process = PublisherOf(source.title);
    return source;
}

} // namespace

Source OpenSource(const ImageOptions& options, const PartsDone& rowsRead)
{
    const std::string what = options.argument.value_or(options.name + options.section);
    const bool isPicture = options.argument && IsFile(Wide(what));
    Source source = isPicture                  ? OpenPicture(Wide(what), rowsRead)
                    : !options.section.empty() ? OpenSection(options)
                    : options.argument         ? OpenPublished(what, "there is no such picture, and ")
                                               : OpenPublished(what, "");
    if (source.descriptor.width < 1 || source.descriptor.height < 1)
        throw Failure(E_INVALIDARG, "view '" + what + "'", "the image has no pixels");
    const std::optional<SampleType> type = SampleTypeOf(source.descriptor);
    if (!type || !RouteOf(source.descriptor.Type())) {
        throw Failure(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), "view '" + what + "'",
                      "there is no conversion from " + PixelTypeText(source.descriptor.Type()) +
                          " pixels into colours");
    }
    source.reader.emplace(source.image, source.descriptor, type->Size());
    return source;
}

} // namespace Mardu::Sentel::Tavlo::Client::View
