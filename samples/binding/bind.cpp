// Binds to an image that another process publishes, reads it, and waits for an update.
//
//     tavlo publish scan.png --name scan          (in one console)
//     bind_sample scan                            (in another)
//     tavlo paint scan                            (in a third)
//
// Tavlo.dll and TavloPS.dll must be registered: tavlo register.
#include <tavlo/tavlo.hpp>

#include <cstdio>
#include <string>

namespace {

/// Published images are in the running object table as items named "Tavlo." and their name.
/// Names beyond ASCII are written there as % and two hexadecimal digits for each byte of
/// their UTF-8, as are '%' and '!'.
tavlo::image Bind(const std::wstring& name)
{
    tavlo::com_ptr<IRunningObjectTable> table;
    tavlo::check(GetRunningObjectTable(0, table.put()), "open the running object table");
    tavlo::com_ptr<IMoniker> moniker;
    tavlo::check(CreateItemMoniker(L"!", (L"Tavlo." + name).c_str(), moniker.put()), "name the image");
    tavlo::com_ptr<IUnknown> object;
    // MK_E_UNAVAILABLE: nobody publishes that.
    tavlo::check(table->GetObject(moniker.get(), object.put()), "bind to the image");
    return tavlo::image(object.query<ITavlo2>());
}

/// Keeps the first update for whoever waits for it.
class FirstUpdate
{
public:
    FirstUpdate() : came_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~FirstUpdate() { CloseHandle(came_); }
    FirstUpdate(const FirstUpdate&) = delete;
    FirstUpdate& operator=(const FirstUpdate&) = delete;

    /// Called by the publishing process, on a thread of the component runtime: in the
    /// multithreaded apartment that may be any thread.
    void Keep(const tavlo::rect& changed)
    {
        if (WaitForSingleObject(came_, 0) != WAIT_OBJECT_0) {
            changed_ = changed;
            SetEvent(came_);
        }
    }

    tavlo::rect Wait() const
    {
        WaitForSingleObject(came_, INFINITE);
        return changed_;
    }

private:
    HANDLE came_;
    tavlo::rect changed_;
};

void Run(const std::wstring& name)
{
    // The image is a proxy here; every call goes to its process and may fail with that
    // process. Its geometry has come along.
    const tavlo::image image = Bind(name);
    std::printf("bound to %d x %d pixels\n", image.width(), image.height());

    // An access travels by value: the memory is mapped into this process, and reading it
    // costs no call.
    const tavlo::read_access access = image.read();
    const auto* first = static_cast<const unsigned char*>(access.base()) + image.descriptor().offset;
    std::printf("the first byte is %d\n", *first);

    // Asynchronous: the process that changes the image does not wait for this one.
    FirstUpdate update;
    const auto subscription =
        image.subscribe([&](const tavlo::rect& changed) { update.Keep(changed); }, Tavlo_Asynchronous);
    std::puts("waiting for an update");
    std::fflush(stdout);
    const tavlo::rect changed = update.Wait();
    std::printf("updated: (%d, %d) to (%d, %d), the first byte is %d\n", changed.left, changed.top,
                changed.right, changed.bottom, *first);
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 2) {
        std::puts("usage: bind_sample NAME");
        return 2;
    }
    try {
        const tavlo::apartment apartment;
        Run(arguments[1]);
        std::puts("done");
        return 0;
    } catch (const std::exception& failure) {
        std::puts(failure.what());
        return 1;
    }
}
