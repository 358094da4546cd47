#pragma once

#include "events/connection_point.h"
#include "events/tavlo_event_sink.h"
#include "module/automation.h"
#include "module/noncopyable.h"
#include "module/object.h"
#include "module/object_safety.h"

#include "TavloLib.h"

namespace Mardu::Sentel::Tavlo {

/// The source of _ITavloEvents: tells every connected sink of TDerived of an update.
template <class TDerived>
class CProxy_ITavloEvents : public IDispConnectionPointImpl<TDerived, DIID__ITavloEvents, ConnectionArray>
{
public:
    /// Raises OnImageUpdate with this argument. The sinks' results are ignored.
    void FireOnImageUpdate(IDispatch* dirty);
};

/// Subscribes to an image and re-raises its updates as events that script clients can
/// handle. Delivery is asynchronous, so that the image's writers never wait for them.
class CTavloEventsReflector final
    : private NonCopyable,
      public ComObject<Automation<ITavloEventsReflector>, ObjectSafety, IConnectionPointContainer>,
      public CProxy_ITavloEvents<CTavloEventsReflector>,
      private CTavloEventSink::Observer
{
public:
    CTavloEventsReflector();

    /// Does not unsubscribe: an image that still holds the sink goes on telling it, to
    /// nobody's notice.
    ~CTavloEventsReflector() override;

    STDMETHODIMP Connect(ITavlo2* pITavlo) override;
    STDMETHODIMP Disconnect() override;

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** ppEnumerator) override;
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** ppPoint) override;

private:
    HRESULT OnImageUpdate(ITavlo* image, RECT* dirty) override;
    ComPtr<IUnknown> Reference() noexcept override { return KeepAlive(); }
    HRESULT WholeImage(ITavlo* image, RECT& whole) const;
    HeldInterface<ITavlo2> Image() const;
    void SetImage(HeldInterface<ITavlo2> image) noexcept;

    mutable CriticalSection lock_;
    HeldInterface<ITavlo2> image_; ///< null while disconnected
    const ComPtr<CTavloEventSink> sink_;
};

} // namespace Mardu::Sentel::Tavlo
