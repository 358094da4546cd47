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

void Export(const ExportOptions& options)
{
    const auto [image, descriptor] = Open(options);
    const std::optional<PngFormat> format = PngFormatOf(descriptor.Type());
    if (!format)
        throw Failure(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), "export the image",
                      WhyNotPng(descriptor.Type()));
    const Reader reader(image, descriptor, static_cast<std::int64_t>(format->Sample()));

    OutputFile file(Wide(options.picture));
    WritePng(descriptor, *format, reader.Base(), [&](auto bytes) { file.Write(bytes); });
    file.Commit();
}

} // namespace

Action SetUpExport(CLI::App& options)
{
    const auto target = std::make_shared<ExportOptions>();
    AddImageOptions(options, target);
    AddPngOption(options, target->picture);
    return [target] { Export(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
