#include "client/commands.h"
#include "client/published_name.h"

#include <CLI/CLI.hpp>

#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {

CLI::Validator SectionName()
{
    const auto check = [](const std::string& name) {
        return name.empty() ? std::string("a section's name must not be empty") : std::string();
    };
    return {check, ""};
}

CLI::Validator ImageName()
{
    return {WhyNotAName, ""};
}

void AddImageOptions(CLI::App& options, const std::shared_ptr<ImageOptions>& target)
{
    CLI::Option* const name =
        options.add_option("--name", target->name, "Name under which the image is published")
            ->type_name("NAME")
            ->check(ImageName());
    CLI::Option* const section =
        options.add_option("--section", target->section, "Name of the section that holds the image's bytes")
            ->type_name("NAME")
            ->check(SectionName())
            ->excludes(name);
    const auto parse = [target](const std::string& text) {
        try {
            target->descriptor = ParseDescriptor(text);
        } catch (const std::invalid_argument& error) {
            throw CLI::ValidationError("--descriptor", error.what());
        }
    };
    CLI::Option* const descriptor =
        options
            .add_option_function<std::string>("--descriptor", parse,
                                              "Geometry of the image; ENCODING is a number or a name")
            ->type_name("W,H,BITS,ENCODING,OFFSET,SX,SY")
            ->excludes(name);
    options.callback([=] {
        if (!name->empty())
            return;
        if (section->empty())
            throw CLI::RequiredError(descriptor->empty() ? "--name, or --section with --descriptor,"
                                                         : "--section");
        if (descriptor->empty())
            throw CLI::RequiredError("--descriptor");
    });
}

void AddPngOption(CLI::App& options, std::string& target)
{
    const auto check = [](const std::string& name) {
        return CLI::detail::to_lower(name).ends_with(".png") ? std::string()
                                                             : "must end in .png, not '" + name + "'";
    };
    options.add_option("OUT", target, "The PNG file to write; one that exists is replaced when all is well")
        ->required()
        ->type_name("")
        ->check(CLI::Validator(check, ""));
}

} // namespace Mardu::Sentel::Tavlo::Client
