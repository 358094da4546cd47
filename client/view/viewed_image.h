#pragma once

#include "client/images/image_options.h"
#include "client/images/shared_image.h"
#include "client/view/pixel.h"

#include <optional>
#include <string>

namespace Mardu::Sentel::Tavlo::Client::View {

/// The image that is looked at.
struct ViewedImage
{
    std::wstring title;
    tavlo::image image;
    Descriptor descriptor;
    std::optional<Reader> reader;
    bool isShared = false; ///< another process may change it
    DWORD process = 0;     ///< that publishes it, when that is known
};

/// What the user names. Its argument may be a picture file: one that is there becomes an image of
/// this program's own, any other text is the name of a published image.
ViewedImage OpenViewedImage(const ImageOptions& options, const PartsDone& rowsRead);

} // namespace Mardu::Sentel::Tavlo::Client::View
