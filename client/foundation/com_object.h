#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>

namespace Mardu::Sentel::Tavlo::Client {

/// An object of ours that others hold: made with new, counted by tavlo::com_ptr.
template <class First, class... Rest>
class ComObject : public First, public Rest...
{
public:
    ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        if (result == nullptr)
            return E_POINTER;
        *result = Find(iid);
        if (*result == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    virtual ~ComObject() = default;

    /// The interface of this identifier; null when there is none.
    virtual void* Find(REFIID iid)
    {
        if (IsEqualIID(iid, __uuidof(IUnknown)) || IsEqualIID(iid, __uuidof(First)))
            return static_cast<First*>(this);
        void* found = nullptr;
        ((IsEqualIID(iid, __uuidof(Rest)) ? found = static_cast<Rest*>(this) : nullptr), ...);
        return found;
    }

private:
    std::atomic<ULONG> references_ = 0;
};

} // namespace Mardu::Sentel::Tavlo::Client
