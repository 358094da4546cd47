#pragma once

#include "addressor/image_binding.h"
#include "module/automation.h"
#include "module/object.h"
#include "module/object_safety.h"

#include "TavloLib.h"

#include <atomic>
#include <memory>

namespace Mardu::Sentel::Tavlo {

/// Single pixels of one image at a time for script clients. It is bound for writing when
/// the image grants that, else for reading. Takes no lock: a call keeps the binding that it began
/// with, whatever is attached or detached meanwhile.
class CCoAddressor final : public ComObject<Automation<ITavloAddressor>, ObjectSafety>
{
public:
    STDMETHODIMP Attach(ITavlo2* pITavlo) override;
    STDMETHODIMP Detach() override;
    STDMETHODIMP get_Pixel(long x, long y, VARIANT* pValue) override;
    STDMETHODIMP put_Pixel(long x, long y, VARIANT value) override;

private:
    /// One of them is set.
    struct Binding
    {
        std::unique_ptr<ReadBinding> read;
        std::unique_ptr<WriteBinding> write;
    };

    void CheckPlace(const Binding& binding, long x, long y) const;

    std::atomic<std::shared_ptr<const Binding>> binding_; ///< null while unattached
};

} // namespace Mardu::Sentel::Tavlo
