#pragma once

#include "module/object.h"

#include "TavloLib.h"

#include <atomic>

/// The handler that a reflector subscribes to an image. It passes updates on to an
/// observer that it does not own, and outlives it as long as an image holds the sink:
/// then the null observer takes the updates.
class CTavloEventSink final : public Mardu::ComObject<ITavloEvents>
{
public:
    class Observer
    {
    public:
        virtual HRESULT OnImageUpdate(ITavlo* image, RECT* dirty) = 0;

    protected:
        ~Observer() = default;
    };

    /// Null stands for the null observer.
    void SetObserver(Observer* observer) noexcept
    {
        observer_ = observer != nullptr ? observer : &nullObserver_;
    }

    STDMETHODIMP OnImageUpdate(ITavlo* pITavlo, RECT* pDirty) override
    {
        return observer_.load()->OnImageUpdate(pITavlo, pDirty);
    }

private:
    class NullObserver final : public Observer
    {
    public:
        HRESULT OnImageUpdate(ITavlo*, RECT*) override { return S_OK; }
    };

    NullObserver nullObserver_;
    std::atomic<Observer*> observer_ = &nullObserver_;
};
