#pragma once

#include "client/progress.h"

namespace Mardu::Sentel::Tavlo::Client {

/// Writes to standard error where that is a terminal; empty where it is not.
Progress::Sink TerminalSink();

} // namespace Mardu::Sentel::Tavlo::Client
