#include "client/commands.h"
#include "client/failure.h"
#include "client/image_options.h"
#include "client/output_file.h"
#include "client/picture_options.h"
#include "client/png_writer.h"
#include "client/shared_image.h"
#include "client/text.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <optional>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct ExportOptions : ImageOptions
{
    std::string out;
};

void Export(const ExportOptions& options, const Console& console)
{
    const auto [image, descriptor] = Open(options);
    const std::optional<PngFormat> format = PngFormatOf(descriptor.Type());
    if (!format)
        throw Failure(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), "export the image",
                      WhyNotPng(descriptor.Type()));
    const Reader reader(image, descriptor, static_cast<std::int64_t>(format->Sample()));

    OutputFile file(Wide(options.out));
    {
        Progress progress = console.ShowProgress();
        WritePng(
            descriptor, *format, reader.Base(), [&](auto bytes) { file.Write(bytes); },
            progress.Of("writing"));
    }
    file.Commit();

    Json object = JsonOf(static_cast<const ImageOptions&>(options));
    object["geometry"] = JsonOf(descriptor);
    object["out"] = JsonOf(options.out, *format, file.Size());
    console.Result({}, object);
}

} // namespace

Action SetUpExport(CLI::App& options)
{
    const auto target = std::make_shared<ExportOptions>();
    AddImageOptions(options, target, Naming::ByNameOrSection);
    AddOut(options, target->out);
    options.callback([target] {
        // The last argument is OUT, also when the image is not named by an argument.
        if (target->out.empty() && target->argument) {
            target->out = *target->argument;
            target->argument.reset();
        }
        RequirePng(target->out);
        Settle(*target, Naming::ByNameOrSection);
    });
    return [target](const Console& console) { Export(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
