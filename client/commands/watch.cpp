#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/command_line/stop_request.h"
#include "client/commands/result_json.h"
#include "client/foundation/failure.h"
#include "client/foundation/text_parsing.h"
#include "client/foundation/utf16.h"
#include "client/images/image_options.h"
#include "client/images/published_image.h"
#include "client/images/shared_image.h"
#include "client/images/update_queue.h"

#include <limits>
#include <memory>

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

/// What a reader who has fallen behind did not see one by one.
void PrintMerged(std::int64_t count, const Console& console)
{
    console.Note("merged " + std::to_string(count) + (count == 1 ? " update" : " updates") +
                     " into the last rectangle\n",
                 {{"event", "merged"}, {"count", count}});
}

/// Waits for one of the events. The subscription is asked every second whether it goes on, and so is
/// the image whether it is still there, when the process behind it is not known.
DWORD WaitForAny(std::vector<HANDLE> events, HANDLE publisher, ITavlo2& image,
                 const tavlo::subscription& subscription, std::string_view purpose)
{
    constexpr DWORD period = 1000;
    if (publisher != nullptr)
        events.push_back(publisher);
    for (;;) {
        const DWORD came =
            WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, period);
        if (came == WAIT_FAILED)
            ThrowLastError(purpose);
        if (came != WAIT_TIMEOUT)
            return came - WAIT_OBJECT_0;
        CheckSubscription(subscription, purpose);
        if (publisher != nullptr)
            continue;
        tavlo::com_ptr<ITavloDescriptor2> descriptor;
        Check(image.get_Descriptor(descriptor.put()), purpose);
    }
}

void Watch(const WatchOptions& options, const Console& console)
{
    const std::wstring name = ToUtf16(options.name);
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
    const StopRequest end;
    PrintStart(options.name, process, descriptor, console);

    enum : DWORD
    {
        Updated,
        Ended
    };
    const std::string purpose = "watch '" + options.name + "' any longer";
    std::int32_t count = 0;
    for (;;) {
        const DWORD came =
            WaitForAny({updates.Event(), end.Event()}, publisher.get(), *image.get(), subscription, purpose);
        const UpdateQueue::Updates changes = updates.Take();
        for (const Rectangle& dirty : changes.rectangles) {
            PrintUpdate(dirty, ++count, console);
            if (count == options.count)
                return;
        }
        if (changes.merged > 0)
            PrintMerged(changes.merged, console);
        if (came == Ended)
            return;
        if (came != Updated)
            throw Failure(HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), purpose,
                          "process " + std::to_string(process) + ", which published it, has ended");
    }
}

} // namespace

Action SetUpWatch(Options& options)
{
    const auto target = std::make_shared<WatchOptions>();
    AddImageOptions(options, target, Naming::ByName);
    const auto parse = [](const std::string& text) { return ParseNumberFrom(1, "the count", text); };
    options.Add({.name = "--count",
                 .form = "N",
                 .help = "End after this many updates",
                 .read = Parsed(parse, [target](std::int32_t count) { target->count = count; })});
    options.AddFlag("--merged", target->isMerged,
                    "Let nobody who changes the image wait; updates that come together are shown as one");
    options.AfterReading([target] { Settle(*target, Naming::ByName); });
    return [target](const Console& console) { Watch(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
