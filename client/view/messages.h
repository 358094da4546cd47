#pragma once

#include <windows.h>

namespace Mardu::Sentel::Tavlo::Client::View {

/// What other threads tell the viewer's window. There is at most one of each on its way.
enum Message : UINT
{
    ImageUpdated = WM_APP + 1,
    ProducerClosed,
};

} // namespace Mardu::Sentel::Tavlo::Client::View
