#pragma once

#include "module/com_ptr.h"

#include <unknwn.h>
#include <windows.h>

#include <atomic>
#include <type_traits>
#include <utility>

/// The base of objects that stand in for those of others. They start with one reference.
template <class... Interfaces>
class StandIn : public Interfaces...
{
public:
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        IUnknown* found = nullptr;
        const auto match = [&](auto* object) {
            using Interface = std::remove_pointer_t<decltype(object)>;
            if (found == nullptr && (IsEqualIID(iid, __uuidof(Interface)) || IsEqualIID(iid, IID_IUnknown)))
                found = object;
        };
        (match(static_cast<Interfaces*>(this)), ...);
        *result = found;
        if (found == nullptr)
            return E_NOINTERFACE;
        found->AddRef();
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

    ULONG References() const { return references_; }

protected:
    StandIn() = default;
    virtual ~StandIn() = default;

private:
    std::atomic<ULONG> references_ = 1;
};

/// One whose dispatch interface nobody calls late.
template <class Interface>
class DispatchStandIn : public StandIn<Interface>
{
public:
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }
};

template <class T, class... Arguments>
Mardu::ComPtr<T> NewStandIn(Arguments&&... arguments)
{
    return Mardu::TakeReference(new T(std::forward<Arguments>(arguments)...));
}

/// An event that stays set. Only a fault lets the time pass that is waited for it.
class ManualEvent
{
public:
    ManualEvent() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~ManualEvent() { CloseHandle(event_); }
    ManualEvent(const ManualEvent&) = delete;
    ManualEvent& operator=(const ManualEvent&) = delete;

    void Set() { SetEvent(event_); }
    bool Wait() const { return WaitForSingleObject(event_, 60000) == WAIT_OBJECT_0; }

private:
    HANDLE event_;
};

/// Asks until the condition holds, for states that nobody announces; false when the limit has passed.
template <class Condition>
bool HoldsSoon(Condition condition)
{
    const ULONGLONG end = GetTickCount64() + 60000;
    while (!condition()) {
        if (GetTickCount64() >= end)
            return false;
        Sleep(1);
    }
    return true;
}
