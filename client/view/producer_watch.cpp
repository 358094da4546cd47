#include "client/view/producer_watch.h"

#include "client/foundation/failure.h"
#include "client/foundation/unattended_thread.h"
#include "client/view/messages.h"

#include <array>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

constexpr DWORD period = 1000;
constexpr DWORD patience = 2000;

/// Any call that goes to the image's process and back.
bool Answers(ITavlo2& image) noexcept
{
    tavlo::com_ptr<ITavloDescriptor2> descriptor;
    return SUCCEEDED(image.get_Descriptor(descriptor.put()));
}

} // namespace

/// What the thread still needs when nobody waits for it any more.
struct ProducerWatch::Shared
{
    tavlo::com_ptr<ITavlo2> image;
    tavlo::com_ptr<ITavloEvents> handler;
    HWND window = nullptr;
    Handle stop;
    Handle process;
    Handle done;
};

ProducerWatch::ProducerWatch(ITavlo2& image, ITavloEvents& handler, DWORD process, HWND window)
    : shared_(std::make_shared<Shared>())
{
    shared_->image = tavlo::com_ptr<ITavlo2>(&image);
    shared_->handler = tavlo::com_ptr<ITavloEvents>(&handler);
    shared_->window = window;
    shared_->stop.reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    shared_->done.reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!shared_->stop || !shared_->done)
        ThrowLastError("watch the producer");
    if (process != 0)
        shared_->process.reset(OpenProcess(SYNCHRONIZE, FALSE, process));
    RunUnattended([shared = shared_] { Run(shared); }, "watch the producer");
}

ProducerWatch::~ProducerWatch()
{
    SetEvent(shared_->stop.get());
    // The thread may wait for an answer of a producer that hangs.
    WaitForSingleObject(shared_->done.get(), patience);
}

void ProducerWatch::Run(const std::shared_ptr<Shared>& shared) noexcept
{
    const HRESULT entered = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const std::array events = {shared->stop.get(), shared->process.get()};
    const DWORD count = shared->process ? 2 : 1;
    DWORD result = WAIT_TIMEOUT;
    while (result == WAIT_TIMEOUT && Answers(*shared->image.get()))
        result = WaitForMultipleObjects(count, events.data(), FALSE, period);
    if (result == WAIT_OBJECT_0)
        shared->image->Unsubscribe(shared->handler.get());
    else
        PostMessageW(shared->window, ProducerClosed, 0, 0);
    shared->handler = {};
    shared->image = {};
    if (SUCCEEDED(entered))
        CoUninitialize();
    SetEvent(shared->done.get());
}

} // namespace Mardu::Sentel::Tavlo::Client::View
