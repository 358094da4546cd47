#include "client/images/published_image.h"

#include "client/foundation/failure.h"
#include "client/foundation/handle.h"
#include "client/foundation/utf16.h"
#include "client/images/published_name.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr wchar_t delimiter[] = L"!";

tavlo::com_ptr<IRunningObjectTable> OpenTable()
{
    tavlo::com_ptr<IRunningObjectTable> table;
    Check(GetRunningObjectTable(0, table.put()), "open the running object table");
    return table;
}

tavlo::com_ptr<IMoniker> MakeMoniker(const std::wstring& item)
{
    tavlo::com_ptr<IMoniker> moniker;
    Check(CreateItemMoniker(delimiter, item.c_str(), moniker.put()), "name the image");
    return moniker;
}

/// Without its proxies an image can be found but not used.
void RequireProxies()
{
    CLSID proxies;
    const HRESULT result = CoGetPSClsid(IID_ITavloEvents, &proxies);
    if (FAILED(result))
        throw Failure(result, "pass images between processes", "TavloPS.dll is not registered");
}

struct TaskMemoryFreer
{
    void operator()(void* memory) const noexcept { CoTaskMemFree(memory); }
};

/// The item of an item moniker of ours or like ours; nothing for other monikers.
std::optional<std::wstring> ItemOf(IMoniker& moniker)
{
    DWORD kind = MKSYS_NONE;
    tavlo::com_ptr<IBindCtx> context;
    wchar_t* name = nullptr;
    if (moniker.IsSystemMoniker(&kind) != S_OK || kind != MKSYS_ITEMMONIKER ||
        FAILED(CreateBindCtx(0, context.put())) ||
        FAILED(moniker.GetDisplayName(context.get(), nullptr, &name)))
        return std::nullopt;
    const std::unique_ptr<wchar_t, TaskMemoryFreer> owner(name);
    const std::wstring_view text(name);
    if (!text.starts_with(delimiter))
        return std::nullopt;
    return std::wstring(text.substr(1));
}

/// Every item of the table, foreign ones too.
std::vector<std::wstring> Items()
{
    constexpr std::string_view purpose = "read the running object table";
    tavlo::com_ptr<IEnumMoniker> monikers;
    Check(OpenTable()->EnumRunning(monikers.put()), purpose);
    std::vector<std::wstring> items;
    for (;;) {
        tavlo::com_ptr<IMoniker> moniker;
        const HRESULT result = monikers->Next(1, moniker.put(), nullptr);
        Check(result, purpose);
        if (result != S_OK)
            return items;
        if (std::optional<std::wstring> item = ItemOf(*moniker.get()))
            items.push_back(std::move(*item));
    }
}

bool IsRunning(DWORD process)
{
    const Handle handle(OpenProcess(SYNCHRONIZE, FALSE, process));
    return handle && WaitForSingleObject(handle.get(), 0) == WAIT_TIMEOUT;
}

bool IsSameItem(std::wstring_view a, std::wstring_view b)
{
    return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()),
                                TRUE) == CSTR_EQUAL;
}

/// A process that was killed may leave its entry behind for a while.
DWORD PublisherIn(const std::vector<std::wstring>& items, std::string_view name)
{
    const std::wstring image = ImageItem(name);
    for (const std::wstring& item : items) {
        const std::optional<PublishingProcess> found = ReadProcessItem(item);
        if (found && IsSameItem(ImageItem(found->name), image) && IsRunning(found->process))
            return found->process;
    }
    return 0;
}

} // namespace

RunningObject::RunningObject(IUnknown& object, const std::wstring& item) : table_(OpenTable())
{
    RequireProxies();
    // The table holds the object itself: an entry that does not may lose it when the
    // first client lets it go. Clients are processes of this user: others would need a
    // registration of this program as a server.
    const HRESULT result =
        table_->Register(ROTFLAGS_REGISTRATIONKEEPSALIVE, &object, MakeMoniker(item).get(), &entry_);
    Check(result, "enter the image in the running object table");
    isOnly_ = result != MK_S_MONIKERALREADYREGISTERED;
}

RunningObject::~RunningObject()
{
    table_->Revoke(entry_);
}

Publication::Publication(ITavlo2& image, std::wstring_view name)
    : process_(image, ProcessItem(ToUtf8(name), GetCurrentProcessId())),
      image_(image, ImageItem(ToUtf8(name)))
{
    if (!image_.IsOnly())
        ThrowError(ERROR_ALREADY_EXISTS, "publish the image as '" + ToUtf8(name) + "'",
                   "the name is in use; nothing was changed");
}

tavlo::image BindImage(std::wstring_view name)
{
    const std::string utf8 = ToUtf8(name);
    const std::string purpose = "bind to the image '" + utf8 + "'";
    RequireProxies();
    tavlo::com_ptr<IUnknown> object;
    const HRESULT result = OpenTable()->GetObject(MakeMoniker(ImageItem(utf8)).get(), object.put());
    // An entry whose process is just ending was seen to give success and no object.
    if (result == MK_E_UNAVAILABLE || (SUCCEEDED(result) && !object))
        throw Failure(MK_E_UNAVAILABLE, purpose, "no image is published under this name");
    Check(result, purpose);
    tavlo::com_ptr<ITavlo2> image;
    const HRESULT kind = object->QueryInterface(__uuidof(ITavlo2), image.put_void());
    if (kind == E_NOINTERFACE)
        throw Failure(kind, purpose, "what is published under this name is no image");
    Check(kind, purpose);
    return Attempt(purpose, [&] { return tavlo::image(std::move(image)); });
}

std::vector<PublishedImage> PublishedImages()
{
    const std::vector<std::wstring> items = Items();
    std::vector<PublishedImage> images;
    for (const std::wstring& item : items) {
        if (const std::optional<std::string> name = NameInImageItem(item))
            images.push_back({ToUtf16(*name), PublisherIn(items, *name)});
    }
    std::ranges::sort(images, {}, &PublishedImage::name);
    const auto again = std::ranges::unique(images, {}, &PublishedImage::name);
    images.erase(again.begin(), again.end());
    return images;
}

DWORD PublisherOf(std::wstring_view name)
{
    return PublisherIn(Items(), ToUtf8(name));
}

} // namespace Mardu::Sentel::Tavlo::Client
