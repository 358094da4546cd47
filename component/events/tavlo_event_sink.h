#pragma once

#include "module/object.h"

#include "TavloLib.h"

#include <atomic>

/// The handler that a reflector subscribes to an image. It passes updates on to an
/// observer that it does not own, and outlives it as long as an image holds the sink:
/// then the null observer takes the updates. It takes no lock: a call holds the observer by a
/// reference, and who ends an observer waits for calls that are about to take one.
class CTavloEventSink final : public Mardu::ComObject<ITavloEvents>
{
public:
    class Observer
    {
    public:
        virtual HRESULT OnImageUpdate(ITavlo* image, RECT* dirty) = 0;

        /// A reference for as long as a call lasts; null when the observer is ending.
        virtual Mardu::ComPtr<IUnknown> Reference() noexcept = 0;

    protected:
        ~Observer() = default;
    };

    /// Null stands for the null observer. No call goes to the observer before it any more,
    /// except those that hold it.
    void SetObserver(Observer* observer) noexcept
    {
        observer_ = observer != nullptr ? observer : &nullObserver_;
        // No more than a few instructions of the component's own are waited for.
        for (int looks = 1; entering_ != 0; ++looks)
            looks % 1000 != 0 ? YieldProcessor() : static_cast<void>(SwitchToThread());
    }

    STDMETHODIMP OnImageUpdate(ITavlo* pITavlo, RECT* pDirty) override
    {
        ++entering_;
        Observer* const observer = observer_;
        const Mardu::ComPtr<IUnknown> held = observer->Reference();
        --entering_;
        return held != nullptr ? observer->OnImageUpdate(pITavlo, pDirty) : S_OK;
    }

private:
    class NullObserver final : public Observer
    {
    public:
        explicit NullObserver(CTavloEventSink& sink) noexcept : sink_(sink) {}
        HRESULT OnImageUpdate(ITavlo*, RECT*) override { return S_OK; }
        Mardu::ComPtr<IUnknown> Reference() noexcept override { return sink_.KeepAlive(); }

    private:
        CTavloEventSink& sink_;
    };

    NullObserver nullObserver_{*this};
    std::atomic<Observer*> observer_ = &nullObserver_;
    std::atomic<int> entering_ = 0; ///< calls between reading the observer and holding it
};
