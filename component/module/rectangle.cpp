#include "module/rectangle.h"

#include "module/error.h"

namespace Mardu::Sentel::Common {

HRESULT CreateRectangle(long left, long top, long right, long bottom, REFIID iid, void** result) noexcept
{
    if (result == nullptr)
        return E_POINTER;
    *result = nullptr;
    return Guarded([&] {
        return Make<CRectangleIntImpl<IRectangle>>(left, top, right, bottom)->QueryInterface(iid, result);
    });
}

} // namespace Mardu::Sentel::Common
