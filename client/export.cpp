#include "client/commands.h"
#include "client/failure.h"
#include "client/output_file.h"
#include "client/png_writer.h"
#include "client/shared_image.h"
#include "client/text.h"

#include <CLI/CLI.hpp>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct ExportOptions : ImageOptions
{
    std::string picture;
};

std::string ReasonOfRefusal(const Descriptor& descriptor)
{
    std::string reason = EncodingText(descriptor.encoding) + " of " + std::to_string(descriptor.bits) +
                         " bits cannot be kept in PNG";
    if (descriptor.encoding == Encoding::Float)
        reason += ", which has no floating-point numbers";
    return reason + "; what can be exported is " + std::string(pngEncodings);
}

void Export(const ExportOptions& options)
{
    const std::optional<PngFormat> format = PngFormatOf(options.descriptor);
    if (!format)
        throw Failure(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), "export the image",
                      ReasonOfRefusal(options.descriptor));

    const ComPtr<ITavloFactory2> factory = CreateFactory();
    const ComPtr<ITavlo2> image =
        Adopt(*factory.Get(), Wide(options.section), options.descriptor, Tavlo_ReadOnly);
    const Reader reader(*image.Get(), options.descriptor, static_cast<std::int64_t>(format->Sample()));

    OutputFile file(Wide(options.picture));
    WritePng(options.descriptor, *format, reader.Base(), [&](auto bytes) { file.Write(bytes); });
    file.Commit();
}

} // namespace

Action SetUpExport(CLI::App& options)
{
    const auto target = std::make_shared<ExportOptions>();
    AddImageOptions(options, target);
    options
        .add_option("OUT", target->picture,
                    "The PNG file to write; one that exists is replaced when all is well")
        ->required()
        ->type_name("")
        ->check(CLI::Validator(
            [](const std::string& name) {
                return CLI::detail::to_lower(name).ends_with(".png") ? std::string()
                                                                     : "must end in .png, not '" + name + "'";
            },
            ""));
    return [target] { Export(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
