#pragma once

#include "client/command_line/progress.h"

namespace Mardu::Sentel::Tavlo::Client {

/// Writes to standard error where that is a terminal; empty where it is not.
Progress::Sink TerminalSink();

/// The columns of the terminal that standard output is; 80 where it is none.
int TerminalWidth();

} // namespace Mardu::Sentel::Tavlo::Client
