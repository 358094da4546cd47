#pragma once

#include "client/foundation/component_errors.h"
#include "client/foundation/handle.h"

#include <memory>

namespace Mardu::Sentel::Tavlo::Client::View {

/// Tells a window once when an image of another process can no longer change: its process has
/// ended, or the image no longer answers. A thread waits for the one, at no cost, and asks for
/// the other every second, so that a producer that hangs does not stop the window. The thread ends the
/// handler's subscription too, when it is told to stop.
class ProducerWatch
{
public:
    /// process is 0 when it is not known.
    ProducerWatch(ITavlo2& image, ITavloEvents& handler, DWORD process, HWND window);
    ~ProducerWatch();
    ProducerWatch(const ProducerWatch&) = delete;
    ProducerWatch& operator=(const ProducerWatch&) = delete;

private:
    struct Shared;
    static void Run(const std::shared_ptr<Shared>& shared) noexcept;

    std::shared_ptr<Shared> shared_;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
