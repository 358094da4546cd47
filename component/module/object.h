#pragma once

#include "module/com_ptr.h"
#include "module/module_lock.h"

#include <unknwn.h>
#include <windows.h>

#include <atomic>
#include <memory>
#include <utility>

namespace Mardu {

/// Counting and aggregation of a component object. The object's own IUnknown is apart
/// from its interfaces: those delegate to the outer object, which is that own IUnknown
/// unless the object is aggregated.
class ObjectRoot
{
public:
    ObjectRoot(const ObjectRoot&) = delete;
    ObjectRoot& operator=(const ObjectRoot&) = delete;

    /// The object's own IUnknown, which an aggregating object keeps.
    IUnknown* Inner() noexcept { return &inner_; }

    /// A reference to the object's own IUnknown for somebody who has none, and for a method that
    /// calls foreign code, which may release every other one. Null when the last has gone.
    ComPtr<IUnknown> KeepAlive() noexcept
    {
        return TakeReference<IUnknown>(inner_.TryAddRef() ? &inner_ : nullptr);
    }

    /// Before any interface is handed out.
    void AggregateInto(IUnknown* outer) noexcept { outer_ = outer; }

protected:
    ObjectRoot() noexcept : inner_(*this), outer_(&inner_) { LockModule(); }
    virtual ~ObjectRoot() { UnlockModule(); }

    IUnknown* Outer() const noexcept { return outer_; }

    /// The interface as a pointer without a reference; null when the object has none.
    virtual IUnknown* FindInterface(REFIID iid) noexcept = 0;

private:
    class InnerUnknown final : public IUnknown
    {
    public:
        explicit InnerUnknown(ObjectRoot& object) noexcept : object_(object) {}

        STDMETHODIMP QueryInterface(REFIID iid, void** result) override
        {
            if (result == nullptr)
                return E_POINTER;
            IUnknown* found = IsEqualIID(iid, IID_IUnknown) ? this : object_.FindInterface(iid);
            *result = found;
            if (found == nullptr)
                return E_NOINTERFACE;
            found->AddRef();
            return S_OK;
        }

        STDMETHODIMP_(ULONG) AddRef() override { return ++count_; }

        STDMETHODIMP_(ULONG) Release() override
        {
            const ULONG count = --count_;
            if (count == 0) {
                // The destructor may still hand out references to the object.
                count_ = dying;
                delete &object_;
            }
            return count;
        }

        /// False when there are no references any more.
        bool TryAddRef() noexcept
        {
            ULONG count = count_;
            while (count != 0 && count < dying)
                if (count_.compare_exchange_weak(count, count + 1))
                    return true;
            return false;
        }

    private:
        static constexpr ULONG dying = 0x40000000;

        ObjectRoot& object_;
        std::atomic<ULONG> count_ = 1;
    };

    InnerUnknown inner_;
    IUnknown* outer_;
};

/// An interface as a base of ComObject answers for its own identifier and, when it is a
/// mixin, for those that the mixin adds.
template <class Interface>
IUnknown* MatchInterface(Interface* object, REFIID iid) noexcept
{
    if constexpr (requires { Interface::Match(object, iid); })
        return Interface::Match(object, iid);
    else
        return IsEqualIID(iid, __uuidof(Interface)) ? object : nullptr;
}

/// The base of every component class: class CThing : public ComObject<IThing, IOther>.
/// Interfaces are tried in the order given. An object is made by Make or by a class
/// factory and starts with one reference.
template <class... Interfaces>
class ComObject : public ObjectRoot, public Interfaces...
{
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** result) final
    {
        return Outer()->QueryInterface(iid, result);
    }
    STDMETHODIMP_(ULONG) AddRef() final { return Outer()->AddRef(); }
    STDMETHODIMP_(ULONG) Release() final { return Outer()->Release(); }

protected:
    IUnknown* FindInterface(REFIID iid) noexcept final
    {
        IUnknown* found = nullptr;
        static_cast<void>(
            ((found = MatchInterface<Interfaces>(static_cast<Interfaces*>(this), iid), found != nullptr) ||
             ...));
        return found;
    }
};

/// A new object that stands alone. Constructors throw when they fail.
template <class T, class... Arguments>
ComPtr<T> Make(Arguments&&... arguments)
{
    return TakeReference(new T(std::forward<Arguments>(arguments)...));
}

/// A new object for a class factory: aggregated when there is an outer object. Returns
/// the object's own IUnknown.
template <class T>
ComPtr<IUnknown> MakeInstance(IUnknown* outer)
{
    auto* object = new T;
    if (outer != nullptr)
        object->AggregateInto(outer);
    return TakeReference(object->Inner());
}

} // namespace Mardu
