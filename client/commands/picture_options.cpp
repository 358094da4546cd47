#include "client/commands/picture_options.h"

#include "client/foundation/text_parsing.h"

namespace Mardu::Sentel::Tavlo::Client {

void AddPicture(Options& options, const std::string& label, std::string& target)
{
    options.Add({.name = label,
                 .form = {},
                 .help = "A PNG, BMP, JPEG or TIFF file",
                 .read = StoreIn(target),
                 .isRequired = true});
}

void AddOut(Options& options, std::string& target)
{
    options.Add({.name = "OUT",
                 .form = {},
                 .help = "The PNG file to write; one that exists is replaced when all is well",
                 .read = StoreIn(target)});
}

void RequirePng(const std::string& out)
{
    if (out.empty())
        throw Missing("OUT");
    if (!LowerCase(out).ends_with(".png"))
        throw WrongValue("OUT", "must end in .png, not '" + out + "'");
}

} // namespace Mardu::Sentel::Tavlo::Client
