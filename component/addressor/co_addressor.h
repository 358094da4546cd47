#pragma once

#include "addressor/image_binding.h"
#include "module/automation.h"
#include "module/object.h"
#include "module/object_safety.h"

#include "TavloLib.h"

#include <memory>

namespace Mardu::Sentel::Tavlo {

/// Single pixels of one image at a time for script clients. It is bound for writing when
/// the image grants that, else for reading. Takes no lock.
class CCoAddressor final : public ComObject<Automation<ITavloAddressor>, ObjectSafety>
{
public:
    STDMETHODIMP Attach(ITavlo2* pITavlo) override;
    STDMETHODIMP Detach() override;
    STDMETHODIMP get_Pixel(long x, long y, VARIANT* pValue) override;
    STDMETHODIMP put_Pixel(long x, long y, VARIANT value) override;

private:
    // At most one of them is set.
    std::unique_ptr<ReadBinding> readBinding_;
    std::unique_ptr<WriteBinding> writeBinding_;
};

} // namespace Mardu::Sentel::Tavlo
