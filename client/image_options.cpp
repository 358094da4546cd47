#include "client/image_options.h"

#include "client/parsed_option.h"
#include "client/published_name.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

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

void AddImageOptions(CLI::App& options, const std::shared_ptr<ImageOptions>& target, Naming naming,
                     const std::string& label, const std::string& help)
{
    options.add_option_function<std::string>(
        label, [target](const std::string& text) { target->argument = text; }, help);
    CLI::Option* const name =
        options.add_option("--name", target->name, "The name, also where another argument could be meant")
            ->type_name("NAME")
            ->check(ImageName());
    if (naming == Naming::ByName)
        return;
    options.add_option("--section", target->section, "Name of the section that holds the image's bytes")
        ->type_name("SECTION")
        ->check(SectionName())
        ->excludes(name);
    AddParsed(options, "--descriptor", "W,H,BITS,ENCODING,OFFSET,SX,SY",
              "Geometry of the image in the section; ENCODING is a number or a name", ParseDescriptor,
              [target](const Descriptor& descriptor) { target->descriptor = descriptor; })
        ->excludes(name);
}

void Settle(ImageOptions& image, Naming naming)
{
    if (image.argument) {
        if (!image.name.empty())
            throw CLI::ExcludesError("NAME", "--name");
        if (!image.section.empty())
            throw CLI::ExcludesError("NAME", "--section");
        if (image.descriptor)
            throw CLI::ExcludesError("NAME", "--descriptor");
        if (const std::string why = WhyNotAName(*image.argument); !why.empty())
            throw CLI::ValidationError("NAME", why);
        image.name = *image.argument;
    }
    if (!image.name.empty())
        return;
    if (naming == Naming::ByName)
        throw CLI::RequiredError("NAME");
    if (image.section.empty() && !image.descriptor)
        throw CLI::RequiredError("NAME, or --section with --descriptor,");
    if (image.section.empty())
        throw CLI::RequiredError("--section");
    if (!image.descriptor)
        throw CLI::RequiredError("--descriptor");
}

Json JsonOf(const ImageOptions& image)
{
    return {{"name", TextOrNull(image.name)}, {"section", TextOrNull(image.section)}};
}

} // namespace Mardu::Sentel::Tavlo::Client
