#pragma once

#include "image/layout.h"
#include "module/com_ptr.h"
#include "module/critical_section.h"
#include "module/handle.h"
#include "module/noncopyable.h"
#include "shared/image/tavlo.h"

#include "TavloLib.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace Mardu::Sentel::Tavlo {

/// The local copy of an image of another machine, and what of it is out of date.
class RemoteImage : private NonCopyable
{
public:
    /// Has no copy yet, but all that waiting for updates needs.
    RemoteImage();

    /// Makes the copy in a new section.
    void MakeCopy(ITavloStub* stub);

    /// Takes the copy's only writer, and makes the copy wholly out of date.
    void TakeWriter();

    /// Lets go of what writes the copy; nothing may be refreshed any more.
    void ReleaseWriter() noexcept;

    /// Back to the beginning, when the rest of the binding has failed.
    void DropCopy() noexcept;

    /// Null before there is a copy.
    CTavlo* Local() const noexcept { return local_.Get(); }
    RECT Whole() const noexcept { return {0, 0, descriptorData_.Width, descriptorData_.Height}; }

    /// Makes a rectangle out of date and wakes the refresh thread.
    void Outdate(const RECT& dirty);

    /// Fetches what is out of date through a reference of the calling thread's apartment
    /// and tells the local subscribers; does nothing when all is up to date. A failure
    /// leaves the copy as it is, and is not tried again by itself. A HRESULT.
    HRESULT Refresh(ITavloStub* stub);

    /// Refreshes at every wake until Stop; for the refresh thread.
    void RefreshUntilStopped(ITavloStub* stub);
    void Stop() noexcept;

    /// What keeps the refresh thread from refreshing; S_OK as long as it does.
    void SetThreadResult(HRESULT hr) noexcept { threadResult_ = hr; }
    HRESULT ThreadResult() const noexcept { return threadResult_; }

private:
    RECT TakePending();
    void Fetch(ITavloStub* stub, RECT& rect);
    std::vector<std::uint8_t> TakeScratch() noexcept;
    void GiveBack(std::vector<std::uint8_t> scratch) noexcept;

    // Destroyed from the last to the first.
    CriticalSection lock_; ///< of what is pending and the scratch buffer
    UniqueHandle wake_;
    std::atomic<bool> stopped_ = false;
    std::atomic<HRESULT> threadResult_ = S_OK;
    RECT pending_ = {};
    TavloDescriptorData descriptorData_ = {};
    ComPtr<CTavlo> local_;
    ComPtr<IWriteAccessor> writer_;
    std::uint8_t* pixels_ = nullptr;
    std::vector<std::uint8_t> scratch_; ///< grows, never shrinks; empty while it is in use
};

} // namespace Mardu::Sentel::Tavlo
