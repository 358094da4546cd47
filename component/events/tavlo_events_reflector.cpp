#include "events/tavlo_events_reflector.h"

#include "module/error.h"
#include "module/foreign_call.h"
#include "module/rectangle.h"

#include <oleauto.h>

#include <mutex>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

struct ConnectionPointPolicy
{
    static void Give(const ComPtr<IConnectionPoint>& point, IConnectionPoint*& slot) noexcept
    {
        point.CopyTo(&slot);
    }
};

using ConnectionPointEnumerator =
    Enumerator<IEnumConnectionPoints, IConnectionPoint*, ComPtr<IConnectionPoint>, ConnectionPointPolicy>;

constexpr DISPID onImageUpdateId = 1;

/// What the sink returns or throws is its own business.
void Invoke(IUnknown* sink, IDispatch* dirty) noexcept
{
    VARIANTARG argument;
    VariantInit(&argument);
    argument.vt = VT_DISPATCH;
    argument.pdispVal = dirty;
    DISPPARAMS parameters = {&argument, nullptr, 1, 0};
    VARIANT result;
    VariantInit(&result);
    // The sink was stored as what its query for the dispinterface gave.
    try {
        CallForeign([&] {
            return static_cast<IDispatch*>(sink)->Invoke(onImageUpdateId, IID_NULL, LOCALE_USER_DEFAULT,
                                                         DISPATCH_METHOD, &parameters, &result, nullptr,
                                                         nullptr);
        });
    } catch (...) {
        // One client does not cost the others their event.
    }
    VariantClear(&result);
}

} // namespace

template <class TDerived>
void CProxy_ITavloEvents<TDerived>::FireOnImageUpdate(IDispatch* dirty)
{
    // One at a time, so that a sink that goes during the broadcast is not told any more.
    const size_t slots = this->connections_.Size();
    for (size_t slot = 0; slot < slots; ++slot) {
        if (const ComPtr<IUnknown> sink = this->connections_.At(slot))
            Invoke(sink.Get(), dirty);
    }
}

CTavloEventsReflector::CTavloEventsReflector() : sink_(Make<CTavloEventSink>())
{
    sink_->SetObserver(this);
}

CTavloEventsReflector::~CTavloEventsReflector()
{
    sink_->SetObserver(nullptr);
}

HRESULT CTavloEventsReflector::Connect(ITavlo2* pITavlo)
{
    if (pITavlo == nullptr)
        return E_INVALIDARG;
    const auto alive = KeepAlive();
    return Guarded([&] {
        HeldInterface<ITavlo2> image = Hold(pITavlo);
        HRESULT hr = Disconnect();
        if (SUCCEEDED(hr))
            hr = CallForeign([&] { return pITavlo->Subscribe(sink_.Get(), Tavlo_Asynchronous); });
        if (FAILED(hr))
            return hr;
        SetImage(std::move(image));
        return S_OK;
    });
}

HRESULT CTavloEventsReflector::Disconnect()
{
    const auto alive = KeepAlive();
    return Guarded([&] {
        const HeldInterface<ITavlo2> image = Image();
        if (image == nullptr)
            return S_OK;
        const HRESULT hr = CallForeign([&] { return (*image)->Unsubscribe(sink_.Get()); });
        if (SUCCEEDED(hr))
            SetImage(nullptr);
        return hr;
    });
}

HRESULT CTavloEventsReflector::EnumConnectionPoints(IEnumConnectionPoints** ppEnumerator)
{
    if (ppEnumerator == nullptr)
        return E_POINTER;
    *ppEnumerator = nullptr;
    return Guarded([&] {
        using Points = std::vector<ComPtr<IConnectionPoint>>;
        auto points = std::make_shared<const Points>(Points{ComPtr<IConnectionPoint>(Point())});
        return Make<ConnectionPointEnumerator>(std::move(points)).CopyTo(ppEnumerator);
    });
}

HRESULT CTavloEventsReflector::FindConnectionPoint(REFIID iid, IConnectionPoint** ppPoint)
{
    if (ppPoint == nullptr)
        return E_POINTER;
    *ppPoint = nullptr;
    if (!IsEqualIID(iid, DIID__ITavloEvents))
        return CONNECT_E_NOCONNECTION;
    *ppPoint = Point();
    (*ppPoint)->AddRef();
    return S_OK;
}

HRESULT CTavloEventsReflector::OnImageUpdate(ITavlo* image, RECT* dirty)
{
    return Guarded([&] {
        RECT rect = {};
        if (dirty != nullptr)
            rect = *dirty;
        else
            CheckHResult(WholeImage(image, rect));
        ComPtr<IRectangle> rectangle;
        CheckHResult(Common::CreateRectangle(rect.left, rect.top, rect.right, rect.bottom, IID_IRectangle,
                                             reinterpret_cast<void**>(rectangle.GetAddressOf())));
        FireOnImageUpdate(rectangle.Get());
    });
}

/// The rectangle of the whole image; images are told of as null, so the connected one is
/// meant.
HRESULT CTavloEventsReflector::WholeImage(ITavlo* image, RECT& whole) const
{
    ComPtr<ITavlo> updated(image);
    if (const ComPtr<ITavlo2> connected = ReferenceTo(Image()); updated == nullptr && connected != nullptr)
        CheckHResult(connected.As(&updated));
    if (updated == nullptr)
        return E_UNEXPECTED;
    ComPtr<ITavloDescriptor> descriptor;
    HRESULT hr = CallForeign([&] { return updated->get_Descriptor(&descriptor); });
    long width = 0;
    long height = 0;
    if (SUCCEEDED(hr))
        hr = CallForeign([&] { return descriptor->get_Width(&width); });
    if (SUCCEEDED(hr))
        hr = CallForeign([&] { return descriptor->get_Height(&height); });
    whole = {0, 0, width, height};
    return hr;
}

// The image is a foreign object: under the lock only the pointer changes hands.

HeldInterface<ITavlo2> CTavloEventsReflector::Image() const
{
    const std::lock_guard lock(lock_);
    return image_;
}

void CTavloEventsReflector::SetImage(HeldInterface<ITavlo2> image) noexcept
{
    const std::lock_guard lock(lock_);
    image_.swap(image);
}

} // namespace Mardu::Sentel::Tavlo
