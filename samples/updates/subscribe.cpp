// Subscribes to an image both ways, changes it twice and prints what arrives.
//
// Tavlo.dll and TavloPS.dll must be registered.
#include <tavlo/tavlo.hpp>

#include <cstdio>

namespace {

/// An event that waits for one update.
class Signal
{
public:
    Signal() : event_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
    ~Signal() { CloseHandle(event_); }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    void Set() const { SetEvent(event_); }
    void Wait() const { WaitForSingleObject(event_, INFINITE); }

private:
    HANDLE event_;
};

void Print(const char* name, const tavlo::rect& changed, DWORD writer)
{
    std::printf("%s: (%d, %d) to (%d, %d), on %s thread\n", name, changed.left, changed.top, changed.right,
                changed.bottom, GetCurrentThreadId() == writer ? "the writer's" : "the image's worker");
}

void Run()
{
    const auto image = tavlo::image::create({.width = 640, .height = 480, .encoding = Tavlo_Unsigned});
    const DWORD writer = GetCurrentThreadId();

    // Called at once, on the thread that changes the image. Keep such callables short.
    const auto atOnce =
        image.subscribe([&](const tavlo::rect& changed) { Print("synchronous", changed, writer); });

    // Called a little later, on a thread of the image; the writer does not wait.
    const Signal updated;
    const auto later = image.subscribe(
        [&](const tavlo::rect& changed) {
            Print("asynchronous", changed, writer);
            updated.Set();
        },
        Tavlo_Asynchronous);

    // Whoever writes pixels says where.
    const auto pixels = image.write<std::uint8_t>();
    pixels.at(10, 20) = 255;
    pixels.invalidate({10, 20, 30, 40});
    updated.Wait(); // or the next update would be merged with this one

    // No rectangle means all of the image.
    pixels.invalidate();
    updated.Wait();
} // the subscriptions end, and what they refer to after them

} // namespace

int main()
{
    try {
        const tavlo::apartment apartment;
        Run();
        std::puts("done");
        return 0;
    } catch (const std::exception& failure) {
        std::puts(failure.what());
        return 1;
    }
}
