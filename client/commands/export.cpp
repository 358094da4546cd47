#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/commands/picture_options.h"
#include "client/commands/result_json.h"
#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/images/image_options.h"
#include "client/images/shared_image.h"
#include "client/pictures/output_file.h"
#include "client/pictures/png_writer.h"

#include <memory>
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

    OutputFile file(ToUtf16(options.out));
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

Action SetUpExport(Options& options)
{
    const auto target = std::make_shared<ExportOptions>();
    AddImageOptions(options, target, Naming::ByNameOrSection);
    AddOut(options, target->out);
    options.AfterReading([target] {
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
