#pragma once

#include "module/error.h"
#include "module/object.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace Mardu::Sentel {

/// A standard enumerator over a snapshot of items. Interface is IEnumX over Item;
/// Policy::Give copies an item into a caller's slot, with a reference of its own.
template <class Interface, class Slot, class Item, class Policy>
class Enumerator final : public ComObject<Interface>
{
public:
    using Items = std::shared_ptr<const std::vector<Item>>;

    explicit Enumerator(Items items, size_t position = 0) : items_(std::move(items)), position_(position) {}

    STDMETHODIMP Next(ULONG count, Slot* slots, ULONG* pFetched) override
    {
        if (slots == nullptr || (pFetched == nullptr && count != 1))
            return E_POINTER;
        // The items are taken first, and given afterwards: that counts references of foreign objects.
        const auto alive = this->KeepAlive();
        const auto [begin, end] = Take(count);
        const auto fetched = static_cast<ULONG>(end - begin);
        for (ULONG i = 0; i < fetched; ++i)
            Policy::Give((*items_)[begin + i], slots[i]);
        if (pFetched != nullptr)
            *pFetched = fetched;
        return fetched == count ? S_OK : S_FALSE;
    }

    STDMETHODIMP Skip(ULONG count) override
    {
        const auto [begin, end] = Take(count);
        return end - begin == count ? S_OK : S_FALSE;
    }

    STDMETHODIMP Reset() override
    {
        position_ = 0;
        return S_OK;
    }

    STDMETHODIMP Clone(Interface** ppEnumerator) override
    {
        if (ppEnumerator == nullptr)
            return E_POINTER;
        *ppEnumerator = nullptr;
        return Guarded([&] { return Make<Enumerator>(items_, position_).CopyTo(ppEnumerator); });
    }

private:
    /// Goes on by so many items, or to the end; where it was and where it is now.
    std::pair<size_t, size_t> Take(ULONG count) noexcept
    {
        size_t begin = position_;
        size_t end = 0;
        do {
            end = begin + std::min<size_t>(count, items_->size() - begin);
        } while (!position_.compare_exchange_weak(begin, end));
        return {begin, end};
    }

    const Items items_;
    std::atomic<size_t> position_; ///< never beyond the items
};

} // namespace Mardu::Sentel
