#pragma once

#include <windows.h>

#include <TavloLib.h>
#include <wrl/client.h>

namespace Mardu::Sentel::Tavlo::Client {

using Microsoft::WRL::ComPtr;

ComPtr<ITavloFactory2> CreateFactory();
ComPtr<IRecode> CreateRecoder();

} // namespace Mardu::Sentel::Tavlo::Client
