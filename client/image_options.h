#pragma once

#include "client/descriptor.h"
#include "client/json.h"

#include <memory>
#include <optional>
#include <string>

namespace CLI {
class App;
class Validator;
} // namespace CLI

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
void AddImageOptions(CLI::App& options, const std::shared_ptr<ImageOptions>& target, Naming naming,
                     const std::string& label = "NAME",
                     const std::string& help = "Name under which the image is published");

/// Makes sure that the image is named, and in one way; CLI::ParseError when it is not. To be called
/// once all options are read.
void Settle(ImageOptions& image, Naming naming);

/// The members "name" and "section", of which one is null.
Json JsonOf(const ImageOptions& image);

/// Accepts names that a section can have.
CLI::Validator SectionName();

/// Accepts names under which images are published.
CLI::Validator ImageName();

} // namespace Mardu::Sentel::Tavlo::Client
