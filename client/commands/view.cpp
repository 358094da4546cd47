#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/foundation/text_parsing.h"
#include "client/view/viewer.h"

#include <memory>
#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct Arguments : ImageOptions
{
    View::ViewOptions options;
};

View::Size ParseSize(const std::string& text)
{
    const std::vector<std::string_view> fields = Split(text);
    if (fields.size() != 2)
        throw std::invalid_argument("must be WIDTH,HEIGHT, not " + Quoted(text));
    return {ParseNumberFrom(1, "WIDTH", fields[0]), ParseNumberFrom(1, "HEIGHT", fields[1])};
}

std::vector<std::string> RampNames()
{
    std::vector<std::string> names;
    for (const View::Ramp& ramp : View::Ramps())
        names.emplace_back(ramp.name);
    return names;
}

View::ViewedImage OpenImage(const ImageOptions& options, const Console& console)
{
    Progress progress = console.ShowProgress();
    return View::OpenViewedImage(options, progress.Of("reading"));
}

} // namespace

Action SetUpView(Options& options)
{
    const auto target = std::make_shared<Arguments>();
    AddImageOptions(options, target, Naming::ByNameOrSection, "NAME|PICTURE",
                    "A picture (PNG, BMP, JPEG or TIFF file), or the name under which an image is published");
    options.Add({.name = "--ramp",
                 .form = "RAMP",
                 .help = "Colours of a grey image: grey, dusk, ember, ice, moss or spectrum",
                 .read = [target](const std::string& name) { target->options.ramp = *View::FindRamp(name); },
                 .words = RampNames()});
    options.Add(
        {.name = "--size",
         .form = "W,H",
         .help = "Inner size of the window, at 96 dots per inch",
         .read = Parsed(ParseSize, [target](const View::Size& size) { target->options.size = size; })});
    options.AfterReading([target] {
        // The argument may also be a picture.
        if (!target->argument || !target->name.empty() || !target->section.empty() || target->descriptor)
            Settle(*target, Naming::ByNameOrSection);
    });
    return [target](const Console& console) {
        const View::Viewer viewer(OpenImage(*target, console), target->options);
        View::RunMessages();
    };
}

} // namespace Mardu::Sentel::Tavlo::Client
