#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/command_line/stop_request.h"
#include "client/commands/picture_options.h"
#include "client/commands/result_json.h"
#include "client/foundation/failure.h"
#include "client/foundation/handle.h"
#include "client/foundation/utf16.h"
#include "client/images/image_options.h"
#include "client/images/published_image.h"
#include "client/images/published_name.h"
#include "client/images/shared_image.h"
#include "client/pictures/picture_file.h"

#include <map>
#include <memory>
#include <optional>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct PublishOptions
{
    std::string picture;
    std::string section;
    std::string name;
    TavloAccess access = Tavlo_SingleWriter;
};

/// A new section. One that exists already belongs to somebody else and is left alone.
Handle CreateSection(const std::wstring& name, std::int64_t size)
{
    const std::string purpose = "create section '" + ToUtf8(name) + "'";
    Handle section(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                      static_cast<DWORD>(size), name.c_str()));
    const DWORD error = GetLastError();
    if (!section)
        ThrowError(error, purpose);
    if (error == ERROR_ALREADY_EXISTS)
        ThrowError(error, purpose, "the name is in use; nothing was changed");
    return section;
}

/// The name as one argument of a command line.
std::string Argument(const std::string& name)
{
    return name.find_first_of(" \t") == std::string::npos ? name : '"' + name + '"';
}

/// A read-only image grants no write access to anybody: another image over the same
/// section takes the pixels in first.
tavlo::image PublishSection(const PictureFile& picture, const std::wstring& name, TavloAccess access,
                            Handle& section, const PartsDone& rowsRead)
{
    const Descriptor& geometry = picture.Geometry();
    section = CreateSection(name, ImageSize(geometry));
    const TavloAccess filling = access == Tavlo_ReadOnly ? Tavlo_SingleWriter : access;
    const tavlo::image image = Adopt(name, geometry, filling);
    Fill(image, picture, rowsRead);
    return access == filling ? image : Adopt(name, geometry, access);
}

/// An image whose section nobody needs to know: whoever binds to it gets accessors. The
/// read-only one is a copy.
tavlo::image PublishNameless(const PictureFile& picture, TavloAccess access, const PartsDone& rowsRead)
{
    const tavlo::image image =
        Create(picture.Geometry(), access == Tavlo_ReadOnly ? Tavlo_SingleWriter : access);
    Fill(image, picture, rowsRead);
    if (access != Tavlo_ReadOnly)
        return image;
    return Attempt("make the image read-only", [&] { return image.clone(Tavlo_ReadOnly); });
}

tavlo::image MakeImage(const PublishOptions& options, const PictureFile& picture, Handle& section,
                       const Console& console)
{
    Progress progress = console.ShowProgress();
    const PartsDone rowsRead = progress.Of("reading");
    return options.section.empty()
               ? PublishNameless(picture, options.access, rowsRead)
               : PublishSection(picture, ToUtf16(options.section), options.access, section, rowsRead);
}

/// The options by which the other commands take the image, a line for each way.
void PrintWays(const PublishOptions& options, const Descriptor& geometry, const Console& console)
{
    std::string lines;
    if (!options.section.empty())
        lines +=
            "--section " + Argument(options.section) + " --descriptor " + DescriptorText(geometry) + "\n";
    if (!options.name.empty())
        lines += "--name " + Argument(options.name) + "\n";
    console.Result(lines, {{"name", TextOrNull(options.name)},
                           {"section", TextOrNull(options.section)},
                           {"descriptor", DescriptorText(geometry)},
                           {"geometry", JsonOf(geometry)},
                           {"process", GetCurrentProcessId()}});
}

void Publish(const PublishOptions& options, const Console& console)
{
    const PictureFile picture(ToUtf16(options.picture));
    Handle section;
    const tavlo::image image = MakeImage(options, picture, section, console);
    std::optional<Publication> publication;
    if (!options.name.empty())
        publication.emplace(*image.get(), ToUtf16(options.name));

    const StopRequest end;
    PrintWays(options, picture.Geometry(), console);
    end.Wait();
}

} // namespace

Action SetUpPublish(Options& options)
{
    const auto target = std::make_shared<PublishOptions>();
    AddPicture(options, "PICTURE", target->picture);
    options.Add({.name = "--name",
                 .form = "NAME",
                 .help = "Name by which other processes bind to the image; 'list' shows it",
                 .read = StoreIn(target->name),
                 .whyNot = WhyNotAName});
    options.Add(
        {.name = "--section",
         .form = "SECTION",
         .help = "Name of the section to create for the image's bytes; needed when there is no --name",
         .read = StoreIn(target->section),
         .whyNot = WhyNotASection});
    options.AfterReading([target] {
        if (target->name.empty() && target->section.empty())
            throw Missing("--name or --section");
    });
    static const std::map<std::string, TavloAccess> accesses = {
        {"read-only", Tavlo_ReadOnly},
        {"single-writer", Tavlo_SingleWriter},
        {"multiple-writers", Tavlo_MultipleWriters},
    };
    options.Add({.name = "--access",
                 .form = "ACCESS",
                 .help = "Who may write to the image: read-only, single-writer (the default) "
                         "or multiple-writers",
                 .read = [target](const std::string& name) { target->access = accesses.at(name); },
                 .words = WordsOf(accesses)});
    return [target](const Console& console) { Publish(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
