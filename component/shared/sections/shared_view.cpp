#include "shared/sections/shared_view.h"

#include "module/critical_section.h"

#include <map>
#include <mutex>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

struct KnownView
{
    std::weak_ptr<void> view;
    std::wstring mapName;
};

struct KnownViews
{
    CriticalSection lock;
    std::map<const void*, KnownView> views;
};

KnownViews& Known()
{
    static KnownViews known;
    return known;
}

/// Forgets the address before another view can have it.
struct SharedViewCloser
{
    KnownViews& known;

    void operator()(void* view) const noexcept
    {
        {
            const std::lock_guard lock(known.lock);
            known.views.erase(view);
        }
        ViewCloser()(view);
    }
};

} // namespace

SharedView ShareView(UniqueView view, std::wstring mapName)
{
    KnownViews& known = Known();
    const SharedView shared(view.release(), SharedViewCloser{known});
    const std::lock_guard lock(known.lock);
    known.views[shared.get()] = {shared, std::move(mapName)};
    return shared;
}

SharedView FindView(const void* address, const std::wstring& mapName)
{
    KnownViews& known = Known();
    const std::lock_guard lock(known.lock);
    const auto found = known.views.find(address);
    return found != known.views.end() && found->second.mapName == mapName ? found->second.view.lock()
                                                                          : SharedView();
}

} // namespace Mardu::Sentel::Tavlo
