#pragma once

#include "module/object.h"

namespace Mardu {

/// Makes a new object, aggregated when there is an outer one; throws on failure.
using InstanceCreator = ComPtr<IUnknown> (*)(IUnknown* outer);

/// The class factory of one class. It is part of the module and never dies before it;
/// outside references only keep the module loaded.
class ClassFactory final : public IClassFactory
{
public:
    explicit ClassFactory(InstanceCreator create) noexcept : create_(create) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** result) override;
    STDMETHODIMP LockServer(BOOL lock) override;

private:
    InstanceCreator create_;
};

} // namespace Mardu
