#pragma once

#include "module/error.h"
#include "module/object.h"

#include <algorithm>
#include <atomic>
#include <memory>
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
        ULONG fetched = 0;
        for (; fetched < count && position_ < items_->size(); ++fetched)
            Policy::Give((*items_)[position_++], slots[fetched]);
        if (pFetched != nullptr)
            *pFetched = fetched;
        return fetched == count ? S_OK : S_FALSE;
    }

    STDMETHODIMP Skip(ULONG count) override
    {
        const size_t left = items_->size() - position_;
        position_ += std::min<size_t>(count, left);
        return count <= left ? S_OK : S_FALSE;
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
    Items items_;
    size_t position_;
};

} // namespace Mardu::Sentel
