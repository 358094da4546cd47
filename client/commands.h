#pragma once

#include "client/command_line.h"
#include "client/descriptor.h"

#include <memory>
#include <string>

namespace CLI {
class Validator;
}

namespace Mardu::Sentel::Tavlo::Client {

Action SetUpPublish(CLI::App& options);
Action SetUpExport(CLI::App& options);
Action SetUpInfo(CLI::App& options);
Action SetUpList(CLI::App& options);
Action SetUpWatch(CLI::App& options);
Action SetUpPaint(CLI::App& options);
Action SetUpRecode(CLI::App& options);
Action SetUpView(CLI::App& options);
Action SetUpScript(CLI::App& options);
Action SetUpRegister(CLI::App& options);
Action SetUpUnregister(CLI::App& options);
Action SetUpRegisterCommon(CLI::App& options);

/// All commands, in the order of the help.
inline constexpr Command commands[] = {
    {"publish", "Share a picture as an image until Enter or the end of input", SetUpPublish},
    {"export", "Write a shared image as a PNG picture", SetUpExport},
    {"info", "Print a shared image's geometry, size and value range", SetUpInfo},
    {"list", "Show the images that are published by name", SetUpList},
    {"watch", "Print the rectangle of every update of a published image", SetUpWatch},
    {"paint", "Fill a published image, or a part of it, with a test pattern", SetUpPaint},
    {"recode", "Convert a picture's pixels to another type, range or colours", SetUpRecode},
    {"view", "Show an image in a window, live", SetUpView},
    {"script", "Run a VBScript or JScript with a published image", SetUpScript},
    {"register", "Register the component, its proxies and the common type library", SetUpRegister},
    {"unregister", "Remove what register has registered", SetUpUnregister},
    {"register-common", "Register the common type library alone", SetUpRegisterCommon},
};

/// Accepts names that a section can have.
CLI::Validator SectionName();

/// Accepts names under which images are published.
CLI::Validator ImageName();

/// How the user names an existing image: the name under which it is published, or its
/// section and what lies in it.
struct ImageOptions
{
    std::string name;
    std::string section;
    Descriptor descriptor;
};

/// Adds --name, and --section and --descriptor, of which either is required, which fill
/// target.
void AddImageOptions(CLI::App& options, const std::shared_ptr<ImageOptions>& target);

/// Adds the required argument OUT, a PNG file to write, which fills target.
void AddPngOption(CLI::App& options, std::string& target);

} // namespace Mardu::Sentel::Tavlo::Client
