#include "client/commands.h"
#include "client/end_of_input.h"
#include "client/failure.h"
#include "client/fields.h"
#include "client/parsed_option.h"
#include "client/print.h"
#include "client/published_image.h"
#include "client/shared_image.h"
#include "client/text.h"
#include "client/update_queue.h"

#include <limits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct WatchOptions
{
    std::string name;
    std::int32_t count = std::numeric_limits<std::int32_t>::max();
    bool isMerged = false;
};

/// What a user sees of one update.
void PrintUpdate(const Rectangle& dirty)
{
    Print(RectangleText(dirty) + "\n");
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

void Watch(const WatchOptions& options)
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
    Print("watching " + options.name + ": " + std::to_string(descriptor.width) + " x " +
          std::to_string(descriptor.height) + ", " + PixelTypeText(descriptor.Type()) + "\n");

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
            PrintUpdate(dirty);
            if (++count == options.count)
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
    options.add_option("NAME", target->name, "Name under which the image is published")
        ->required()
        ->type_name("")
        ->check(ImageName());
    AddParsed(
        options, "--count", "N", "End after this many updates",
        [](const std::string& text) { return ParseNumberFrom(1, "the count", text); },
        [target](std::int32_t count) { target->count = count; });
    options.add_flag("--merged", target->isMerged,
                     "Let nobody who changes the image wait; updates that come together are shown as one");
    return [target] { Watch(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
