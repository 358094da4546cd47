#pragma once

#include "client/component.h"
#include "client/view/area.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client::View {

/// What came since the last look.
struct Updates
{
    std::vector<Rectangle> dirty;
    std::vector<std::chrono::steady_clock::time_point> times;
    Rectangle last;
};

/// Takes an image's updates on whatever thread they come, keeps no producer waiting, and
/// tells a window that there are some.
class UpdateListener final : public ITavloEvents
{
public:
    UpdateListener() = default;
    UpdateListener(const UpdateListener&) = delete;
    UpdateListener& operator=(const UpdateListener&) = delete;

    /// Tells this window from now on; null for none.
    void Tell(HWND window);

    Updates Take();

    STDMETHODIMP OnImageUpdate(ITavlo* image, RECT* dirty) override;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

private:
    ~UpdateListener() = default;

    std::atomic<ULONG> references_ = 1;
    std::mutex mutex_;
    HWND window_ = nullptr;
    DirtyArea dirty_;
    Updates updates_;
    bool isTold_ = false;
};

} // namespace Mardu::Sentel::Tavlo::Client::View
