#include "client/images/image_options.h"

#include "client/images/published_name.h"

namespace Mardu::Sentel::Tavlo::Client {

std::string WhyNotASection(const std::string& name)
{
    return name.empty() ? "a section's name must not be empty" : "";
}

void AddImageOptions(Options& options, const std::shared_ptr<ImageOptions>& target, Naming naming,
                     const std::string& label, const std::string& help)
{
    options.Add({.name = label, .form = {}, .help = help, .read = [target](const std::string& text) {
                     target->argument = text;
                 }});
    const Option& name = options.Add({.name = "--name",
                                      .form = "NAME",
                                      .help = "The name, also where another argument could be meant",
                                      .read = StoreIn(target->name),
                                      .whyNot = WhyNotAName});
    if (naming == Naming::ByName)
        return;
    options.Add({.name = "--section",
                 .form = "SECTION",
                 .help = "Name of the section that holds the image's bytes",
                 .read = StoreIn(target->section),
                 .whyNot = WhyNotASection,
                 .excluded = {&name}});
    const auto store = [target](const Descriptor& descriptor) { target->descriptor = descriptor; };
    options.Add({.name = "--descriptor",
                 .form = "W,H,BITS,ENCODING,OFFSET,SX,SY",
                 .help = "Geometry of the image in the section; ENCODING is a number or a name",
                 .read = Parsed(ParseDescriptor, store),
                 .excluded = {&name}});
}

void Settle(ImageOptions& image, Naming naming)
{
    if (image.argument) {
        if (!image.name.empty())
            throw Excluding("NAME", "--name");
        if (!image.section.empty())
            throw Excluding("NAME", "--section");
        if (image.descriptor)
            throw Excluding("NAME", "--descriptor");
        if (const std::string why = WhyNotAName(*image.argument); !why.empty())
            throw WrongValue("NAME", why);
        image.name = *image.argument;
    }
    if (!image.name.empty())
        return;
    if (naming == Naming::ByName)
        throw Missing("NAME");
    if (image.section.empty() && !image.descriptor)
        throw Missing("NAME, or --section with --descriptor,");
    if (image.section.empty())
        throw Missing("--section");
    if (!image.descriptor)
        throw Missing("--descriptor");
}

Json JsonOf(const ImageOptions& image)
{
    return {{"name", TextOrNull(image.name)}, {"section", TextOrNull(image.section)}};
}

} // namespace Mardu::Sentel::Tavlo::Client
