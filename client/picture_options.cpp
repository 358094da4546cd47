#include "client/picture_options.h"

#include <CLI/CLI.hpp>

namespace Mardu::Sentel::Tavlo::Client {

CLI::Option* AddPicture(CLI::App& options, const std::string& label, std::string& target)
{
    return options.add_option(label, target, "A PNG, BMP, JPEG or TIFF file")->required();
}

CLI::Option* AddOut(CLI::App& options, std::string& target)
{
    return options.add_option("OUT", target,
                              "The PNG file to write; one that exists is replaced when all is well");
}

void RequirePng(const std::string& out)
{
    if (out.empty())
        throw CLI::RequiredError("OUT");
    if (!CLI::detail::to_lower(out).ends_with(".png"))
        throw CLI::ValidationError("OUT", "must end in .png, not '" + out + "'");
}

} // namespace Mardu::Sentel::Tavlo::Client
