#include "client/component.h"

#include "client/failure.h"

namespace Mardu::Sentel::Tavlo::Client {
namespace {

template <class Interface>
ComPtr<Interface> CreateObject(const CLSID& object, std::string_view purpose)
{
    ComPtr<Interface> created;
    const HRESULT result = CoCreateInstance(object, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&created));
    if (result == REGDB_E_CLASSNOTREG)
        throw Failure(result, purpose, "Tavlo.dll is not registered");
    Check(result, purpose);
    return created;
}

} // namespace

ComPtr<ITavloFactory2> CreateFactory()
{
    return CreateObject<ITavloFactory2>(CLSID_TavloFactory, "create the image factory");
}

ComPtr<IRecode> CreateRecoder()
{
    return CreateObject<IRecode>(CLSID_CoRecoder, "create the recoder");
}

} // namespace Mardu::Sentel::Tavlo::Client
