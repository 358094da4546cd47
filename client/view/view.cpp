#include "client/commands.h"
#include "client/fields.h"
#include "client/view/viewer.h"

#include <CLI/CLI.hpp>

#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct Arguments
{
    std::string image;
    View::ViewOptions options;
};

View::Size ParseSize(const std::string& text)
{
    const std::vector<std::string_view> fields = Fields(text);
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

} // namespace

Action SetUpView(CLI::App& options)
{
    const auto target = std::make_shared<Arguments>();
    options
        .add_option("IMAGE", target->image,
                    "A picture (PNG, BMP, JPEG or TIFF file), or the name under which an image is published")
        ->required()
        ->type_name("NAME|PICTURE");
    options
        .add_option_function<std::string>(
            "--ramp", [target](const std::string& name) { target->options.ramp = *View::FindRamp(name); },
            "Colours of a grey image: grey, dusk, ember, ice, moss or spectrum")
        ->check(CLI::IsMember(RampNames()).description(""))
        ->type_name("RAMP");
    const auto setSize = [target](const std::string& text) {
        try {
            target->options.size = ParseSize(text);
        } catch (const std::invalid_argument& error) {
            throw CLI::ValidationError("--size", error.what());
        }
    };
    options
        .add_option_function<std::string>("--size", setSize, "Inner size of the window, at 96 dots per inch")
        ->type_name("W,H");
    return [target] {
        const View::Viewer viewer(View::OpenSource(target->image), target->options);
        View::RunMessages();
    };
}

} // namespace Mardu::Sentel::Tavlo::Client
