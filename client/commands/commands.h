#pragma once

#include "client/command_line/command_line.h"
#include "client/commands/manuals.h"

namespace Mardu::Sentel::Tavlo::Client {

Action SetUpPublish(Options& options);
Action SetUpExport(Options& options);
Action SetUpInfo(Options& options);
Action SetUpList(Options& options);
Action SetUpWatch(Options& options);
Action SetUpPaint(Options& options);
Action SetUpRecode(Options& options);
Action SetUpView(Options& options);
Action SetUpScript(Options& options);
Action SetUpRegister(Options& options);
Action SetUpUnregister(Options& options);
Action SetUpRegisterCommon(Options& options);

inline constexpr const char* sharing = "Sharing and looking";
inline constexpr const char* changing = "Changing and converting";
inline constexpr const char* installing = "Setting up";

/// All commands, in the order of the help.
inline constexpr Command commands[] = {
    {"publish", "share a picture as an image until Enter is pressed", SetUpPublish, sharing, &publishManual},
    {"list", "show the images that are published by name", SetUpList, sharing, &listManual},
    {"info", "print an image's geometry, size and value range", SetUpInfo, sharing, &infoManual},
    {"watch", "print the rectangle of every update of an image", SetUpWatch, sharing, &watchManual},
    {"view", "show an image or a picture in a window, live", SetUpView, sharing, &viewManual},
    {"export", "write an image as a PNG picture", SetUpExport, changing, &exportManual},
    {"paint", "fill an image, or a part of it, with a test pattern", SetUpPaint, changing, &paintManual},
    {"recode", "convert a picture to another type, range or colours", SetUpRecode, changing, &recodeManual},
    {"script", "run a VBScript or JScript on an image", SetUpScript, changing, &scriptManual},
    {"register", "register the component, its proxies and type library", SetUpRegister, installing,
     &registerManual},
    {"unregister", "remove what register has registered", SetUpUnregister, installing, &unregisterManual},
    {"register-common", "register the common type library alone", SetUpRegisterCommon, installing,
     &registerCommonManual},
};

} // namespace Mardu::Sentel::Tavlo::Client
