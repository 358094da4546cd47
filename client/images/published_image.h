#pragma once

#include "client/foundation/component_errors.h"

#include <string>
#include <string_view>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// An entry of the running object table; it goes with this object.
class RunningObject
{
public:
    /// The object can be found under an item moniker of this item by other processes of
    /// the same user. IsOnly tells whether it was the first of that item.
    RunningObject(IUnknown& object, const std::wstring& item);
    ~RunningObject();
    RunningObject(const RunningObject&) = delete;
    RunningObject& operator=(const RunningObject&) = delete;

    bool IsOnly() const noexcept { return isOnly_; }

private:
    tavlo::com_ptr<IRunningObjectTable> table_;
    DWORD entry_ = 0;
    bool isOnly_ = false;
};

/// An image that other processes can bind to by its name, as long as this object lives.
class Publication
{
public:
    /// A name that is in use is a Failure, and the image of that name stays as it is.
    Publication(ITavlo2& image, std::wstring_view name);

private:
    // Whoever sees the image's entry sees the process's too: it is there for longer.
    RunningObject process_;
    RunningObject image_;
};

/// The image that is published under this name.
tavlo::image BindImage(std::wstring_view name);

/// What the running object table tells about an image. Whether the image can be reached
/// is not known.
struct PublishedImage
{
    std::wstring name;
    DWORD process = 0; ///< that publishes it; 0 when its publisher does not tell
};

/// All images that this user can bind to by name, ordered by name.
std::vector<PublishedImage> PublishedImages();

/// The process that publishes the image of this name; 0 when it is not known.
DWORD PublisherOf(std::wstring_view name);

} // namespace Mardu::Sentel::Tavlo::Client
