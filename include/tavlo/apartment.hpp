/// The apartment that a thread needs to be in.
#pragma once

#include <tavlo/error.hpp>

namespace tavlo {

/// Puts the thread into an apartment for as long as it lives. Everything of the component that the
/// thread holds must be destroyed before it, so it is the first variable of main or of a thread.
/// A thread that is in an apartment of the same kind already just counts once more.
class apartment
{
public:
    /// COINIT_MULTITHREADED, or COINIT_APARTMENTTHREADED for a thread with windows, which must
    /// dispatch messages. Throws RPC_E_CHANGED_MODE when the thread is in one of the other kind.
    explicit apartment(COINIT kind = COINIT_MULTITHREADED)
    {
        check(CoInitializeEx(nullptr, static_cast<DWORD>(kind)), "enter an apartment");
    }

    ~apartment() { CoUninitialize(); }
    apartment(const apartment&) = delete;
    apartment& operator=(const apartment&) = delete;
};

} // namespace tavlo
