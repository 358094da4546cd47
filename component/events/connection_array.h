#pragma once

#include "module/com_ptr.h"
#include "module/critical_section.h"
#include "module/held_interface.h"
#include "module/noncopyable.h"

#include <ocidl.h>

#include <mutex>
#include <utility>
#include <vector>

namespace Mardu::Sentel {

/// A client's sink and its cookie.
struct Connection
{
    ComPtr<IUnknown> sink;
    DWORD cookie;
};

/// The sinks of a connection point. A cookie is the number of a slot, from 1; freed slots
/// are used again. Nothing of a sink runs while the lock is held, not even the counting of its
/// references.
class ConnectionArray : private NonCopyable
{
public:
    /// The cookie of the slot that took the sink.
    DWORD Add(const ComPtr<IUnknown>& sink)
    {
        HeldInterface<IUnknown> held = Hold(sink.Get());
        const std::lock_guard lock(lock_);
        for (size_t i = 0; i < slots_.size(); ++i) {
            if (slots_[i] == nullptr) {
                slots_[i] = std::move(held);
                return static_cast<DWORD>(i + 1);
            }
        }
        slots_.push_back(std::move(held));
        return static_cast<DWORD>(slots_.size());
    }

    /// False when no sink has that cookie.
    bool Remove(DWORD cookie) noexcept
    {
        HeldInterface<IUnknown> removed; // released after the lock
        const std::lock_guard lock(lock_);
        if (cookie < 1 || cookie > slots_.size())
            return false;
        removed.swap(slots_[cookie - 1]);
        return removed != nullptr;
    }

    size_t Size() const
    {
        const std::lock_guard lock(lock_);
        return slots_.size();
    }

    /// Null for an empty slot or one that is not there.
    ComPtr<IUnknown> At(size_t slot) const { return ReferenceTo(HeldAt(slot)); }

    std::vector<Connection> Snapshot() const
    {
        const std::vector<HeldInterface<IUnknown>> slots = Slots();
        std::vector<Connection> connections;
        for (size_t i = 0; i < slots.size(); ++i) {
            if (slots[i] != nullptr)
                connections.push_back({*slots[i], static_cast<DWORD>(i + 1)});
        }
        return connections;
    }

private:
    HeldInterface<IUnknown> HeldAt(size_t slot) const
    {
        const std::lock_guard lock(lock_);
        return slot < slots_.size() ? slots_[slot] : nullptr;
    }

    std::vector<HeldInterface<IUnknown>> Slots() const
    {
        const std::lock_guard lock(lock_);
        return slots_;
    }

    mutable CriticalSection lock_;
    std::vector<HeldInterface<IUnknown>> slots_;
};

} // namespace Mardu::Sentel
