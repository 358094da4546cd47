#include "client/commands.h"
#include "client/failure.h"
#include "client/handle.h"
#include "client/picture_file.h"
#include "client/print.h"
#include "client/shared_image.h"
#include "client/text.h"

#include <CLI/CLI.hpp>

#include <map>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct PublishOptions
{
    std::string picture;
    std::string section;
    TavloAccess access = Tavlo_SingleWriter;
};

/// A new section. One that exists already belongs to somebody else and is left alone.
Handle CreateSection(const std::wstring& name, std::int32_t size)
{
    const std::string purpose = "create section '" + Utf8(name) + "'";
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

void WaitForEnterOrEndOfInput()
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    char c = 0;
    DWORD count = 0;
    while (ReadFile(input, &c, 1, &count, nullptr) && count == 1 && c != '\n' && c != '\r') {
    }
}

void Publish(const PublishOptions& options)
{
    const PictureFile picture(Wide(options.picture));
    const Descriptor& geometry = picture.Geometry();
    const std::wstring name = Wide(options.section);

    const ComPtr<ITavloFactory2> factory = CreateFactory();
    const std::int32_t size = SizeFor(*factory.Get(), geometry);
    Handle section = CreateSection(name, size);

    // A read-only image grants no write access to anybody: another image over the
    // same section takes the pixels in first.
    const TavloAccess filling = options.access == Tavlo_ReadOnly ? Tavlo_SingleWriter : options.access;
    ComPtr<ITavlo2> image = Adopt(*factory.Get(), name, geometry, filling);
    Fill(*image.Get(), picture, size);
    if (options.access != filling)
        image = Adopt(*factory.Get(), name, geometry, options.access);

    Print("--section " + Argument(options.section) + " --descriptor " + DescriptorText(geometry) + "\n");
    WaitForEnterOrEndOfInput();
}

} // namespace

Action SetUpPublish(CLI::App& options)
{
    const auto target = std::make_shared<PublishOptions>();
    options.add_option("PICTURE", target->picture, "A PNG, BMP, JPEG or TIFF file")
        ->required()
        ->type_name("");
    options.add_option("--section", target->section, "Name of the section to create for the image's bytes")
        ->required()
        ->type_name("NAME")
        ->check(SectionName());
    static const std::map<std::string, TavloAccess> accesses = {
        {"read-only", Tavlo_ReadOnly},
        {"single-writer", Tavlo_SingleWriter},
        {"multiple-writers", Tavlo_MultipleWriters},
    };
    const auto setAccess = [target](const std::string& name) { target->access = accesses.at(name); };
    options
        .add_option_function<std::string>(
            "--access", setAccess,
            "Who may write to the image: read-only, single-writer (the default) "
            "or multiple-writers")
        ->check(CLI::IsMember(accesses).description(""))
        ->type_name("ACCESS");
    return [target] { Publish(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
