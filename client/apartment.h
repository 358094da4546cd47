#pragma once

#include "client/failure.h"

#include <objbase.h>

namespace Mardu::Sentel::Tavlo::Client {

/// The component runtime on this thread, in an apartment of this kind.
class Apartment
{
public:
    explicit Apartment(COINIT kind) { Check(CoInitializeEx(nullptr, kind), "start the component runtime"); }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

} // namespace Mardu::Sentel::Tavlo::Client
