#include "client/commands.h"
#include "client/end_of_input.h"
#include "client/failure.h"
#include "client/fields.h"
#include "client/image_options.h"
#include "client/parsed_option.h"
#include "client/published_image.h"
#include "client/shared_image.h"
#include "client/text.h"
#include "client/update_queue.h"

#include <nlohmann/json.hpp>

#include <limits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct WatchOptions : ImageOptions
{
    std::int32_t count = std::numeric_limits<std::int32_t>::max();
    bool isMerged = false;
};

/// What a user sees of one update.
void PrintUpdate(const Rectangle& dirty, std::int32_t number, const Console& console)
{
    console.Result(RectangleText(dirty) + "\n",
                   {{"event", "update"}, {"number", number}, {"rectangle", JsonOf(dirty)}});
}

void PrintStart(const std::string& name, DWORD process, const Descriptor& geometry, const Console& console)
{
    console.Note("watching " + name + ": " + std::to_string(geometry.width) + " x " +
                     std::to_string(geometry.height) + ", " + PixelTypeText(geometry.Type()) + "\n",
                 {{"event", "watching"},
                  {"name", name},
                  {"process", process == 0 ? Json(nullptr) : Json(process)},
                  {"geometry", JsonOf(geometry)}});
}

/// Waits for one of the events. When the process behind the image is not known, the image
/// itself is asked every second whether it is still there.
DWORD WaitForAny(std::vector<HANDLE> events, HANDLE publisher, ITavlo2& image, std::string_view purpose)
{
    if (publisher != nullptr)
        events.push_back(publisher);
    for (;;) {
        const DWORD came = WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE,
                                                  publisher == nullptr ? 1000 : INFINITE);
        if (came == WAIT_FAILED)
            ThrowLastError(purpose);
        if (came != WAIT_TIMEOUT)
            return came - WAIT_OBJECT_0;
        ComPtr<ITavloDescriptor2> descriptor;
        Check(image.get_Descriptor(&descriptor), purpose);
    }
}

void Watch(const WatchOptions& options, const Console& console)
{
    const std::wstring name = Wide(options.name);
    const DWORD process = PublisherOf(name);
    const Handle publisher(process == 0 ? nullptr : OpenProcess(SYNCHRONIZE, FALSE, process));
    const tavlo::image image = BindImage(name);
    const Descriptor descriptor = GeometryOf(*image.get());

    // The pixels stay in reach for as long as they are watched.
    const auto access = Attempt("read the image", [&] { return image.read(); });
    UpdateQueue updates;
    const auto subscription = Attempt("subscribe to the image's updates", [&] {
        return image.subscribe([&](const tavlo::rect& changed) { updates.Add(changed); },
                               options.isMerged ? Tavlo_Asynchronous : Tavlo_Synchronous);
    });
    const EndOfInput end;
    PrintStart(options.name, process, descriptor, console);

    enum : DWORD
    {
        Updated,
        Ended
    };
    const std::string purpose = "watch '" + options.name + "' any longer";
    std::int32_t count = 0;
    for (;;) {
        const DWORD came = WaitForAny({updates.Event(), end.Event()}, publisher.get(), *image.get(), purpose);
        for (const Rectangle& dirty : updates.Take()) {
            PrintUpdate(dirty, ++count, console);
            if (count == options.count)
                return;
        }
        if (came == Ended)
            return;
        if (came != Updated)
            throw Failure(HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), purpose,
                          "process " + std::to_string(process) + ", which published it, has ended");
    }
}

} // namespace

Action SetUpWatch(CLI::App& options)
{
    const auto target = std::make_shared<WatchOptions>();
    AddImageOptions(options, target, Naming::ByName);
    AddParsed(
        options, "--count", "N", "End after this many updates",
        [](const std::string& text) { return ParseNumberFrom(1, "the count", text); },
        [target](std::int32_t count) { target->count = count; });
    options.add_flag("--merged", target->isMerged,
                     "Let nobody who changes the image wait; updates that come together are shown as one");
    options.callback([target] { Settle(*target, Naming::ByName); });
    return [target](const Console& console) { Watch(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
