#include "client/script/variant.h"

#include "client/foundation/failure.h"

namespace Mardu::Sentel::Tavlo::Client {

Variant Variant::CopyOf(const VARIANT& value)
{
    Variant copy;
    Check(VariantCopyInd(&copy.value_, const_cast<VARIANT*>(&value)), "read an argument");
    return copy;
}

std::wstring Variant::Text() const
{
    if (value_.vt == VT_NULL)
        return L"null";
    const Variant text = ChangedTo(VT_BSTR);
    return {text.value_.bstrVal, SysStringLen(text.value_.bstrVal)};
}

LONG Variant::Number() const
{
    return ChangedTo(VT_I4).value_.lVal;
}

tavlo::com_ptr<IDispatch> Variant::Object() const
{
    const Variant object = ChangedTo(VT_DISPATCH);
    if (object.value_.pdispVal == nullptr)
        throw Failure(E_INVALIDARG, "read an argument", "an object is needed");
    return tavlo::com_ptr<IDispatch>(object.value_.pdispVal);
}

Variant Variant::ChangedTo(VARTYPE type) const
{
    Variant changed;
    Check(VariantChangeType(&changed.value_, const_cast<VARIANT*>(&value_), VARIANT_ALPHABOOL, type),
          "read an argument");
    return changed;
}

std::wstring TakeText(BSTR text)
{
    std::wstring taken(text, SysStringLen(text));
    SysFreeString(text);
    return taken;
}

} // namespace Mardu::Sentel::Tavlo::Client
