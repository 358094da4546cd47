#pragma once

#include "client/command_line/json.h"
#include "client/command_line/options.h"
#include "client/pictures/descriptor.h"

#include <memory>
#include <optional>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// How the user names an existing image: the name under which it is published, or its
/// section and what lies in it.
struct ImageOptions
{
    std::optional<std::string> argument; ///< the argument NAME; Settle makes name of it
    std::string name;
    std::string section;
    std::optional<Descriptor> descriptor;
};

/// How an image may be named.
enum class Naming
{
    ByName,
    ByNameOrSection,
};

/// Adds the argument NAME and --name, and where they are allowed --section and --descriptor, which
/// fill target. label and help are those of the argument.
void AddImageOptions(Options& options, const std::shared_ptr<ImageOptions>& target, Naming naming,
                     const std::string& label = "NAME",
                     const std::string& help = "Name under which the image is published");

/// Makes sure that the image is named, and in one way; UsageError when it is not. To be called
/// once all options are read.
void Settle(ImageOptions& image, Naming naming);

/// The members "name" and "section", of which one is null.
Json JsonOf(const ImageOptions& image);

/// Why a section cannot have this name; empty when it can.
std::string WhyNotASection(const std::string& name);

} // namespace Mardu::Sentel::Tavlo::Client
