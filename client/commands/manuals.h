#pragma once

#include "client/command_line/command.h"

namespace Mardu::Sentel::Tavlo::Client {

// The texts of the help, and its examples.
extern const Manual programManual;
extern const Manual publishManual;
extern const Manual listManual;
extern const Manual infoManual;
extern const Manual watchManual;
extern const Manual viewManual;
extern const Manual exportManual;
extern const Manual paintManual;
extern const Manual recodeManual;
extern const Manual scriptManual;
extern const Manual registerManual;
extern const Manual unregisterManual;
extern const Manual registerCommonManual;

} // namespace Mardu::Sentel::Tavlo::Client
