#include "client/commands/commands.h"

#include "client/command_line/option_parser.h"
#include "client/command_line/options.h"
#include "client/commands/picture_options.h"
#include "client/commands/result_json.h"
#include "client/foundation/component_errors.h"
#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/images/shared_image.h"
#include "client/pictures/control_point.h"
#include "client/pictures/output_file.h"
#include "client/pictures/picture_file.h"
#include "client/pictures/png_writer.h"
#include "client/pictures/rectangle.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct RecodeOptions
{
    std::string picture;
    std::string out;
    std::optional<PixelType> type;
    std::optional<double> contrast;
    std::optional<double> brightness;
    std::optional<double> gamma;
    std::optional<double> sigma;
    std::vector<ControlPoint> ramp;
    std::optional<Rectangle> part;
    bool isCast = false;

    bool NeedsToneCurve() const { return contrast || brightness || gamma || sigma || !ramp.empty(); }
    std::string Purpose() const { return "recode '" + picture + "'"; }
};

/// One picture in an image of its own.
struct Picture
{
    Descriptor geometry;
    tavlo::image image;
};

/// Leaves the file closed, so that the result may replace it.
Picture Load(const std::string& path, const PartsDone& rowsRead)
{
    const PictureFile file(ToUtf16(path));
    Picture picture{file.Geometry(), Create(file.Geometry(), Tavlo_SingleWriter)};
    Fill(picture.image, file, rowsRead);
    return picture;
}

PixelType ResultType(const RecodeOptions& options, const PixelType& source)
{
    if (options.type)
        return *options.type;
    const bool isGrey = source.encoding == Encoding::Unsigned || source.encoding == Encoding::Float;
    return isGrey && !options.ramp.empty() ? PixelType{Encoding::RGB, 24} : source;
}

PngFormat FormatFor(const RecodeOptions& options, const PixelType& type)
{
    const std::optional<PngFormat> format = PngFormatOf(type);
    if (!format)
        throw Failure(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), options.Purpose(), WhyNotPng(type));
    return *format;
}

tavlo::rect PartOf(const RecodeOptions& options, const Descriptor& source)
{
    const Rectangle part = options.part.value_or(Rectangle{0, 0, source.width, source.height});
    if (part.right > source.width || part.bottom > source.height) {
        throw Failure(E_INVALIDARG, options.Purpose(),
                      "the rectangle reaches outside the picture of " + std::to_string(source.width) + " x " +
                          std::to_string(source.height) + " pixels");
    }
    return {part.left, part.top, part.right, part.bottom};
}

Descriptor ResultGeometry(const RecodeOptions& options, const tavlo::rect& part, const PixelType& type)
{
    const std::optional<Descriptor> geometry = PackedGeometry(part.width(), part.height(), type);
    if (!geometry)
        throw Failure(E_OUTOFMEMORY, options.Purpose(), imageSizeLimit);
    return *geometry;
}

/// Converts some rows of the source to a point of the target.
using Converter = std::function<void(const tavlo::recode_source& source, const tavlo::recode_target& target,
                                     const tavlo::region& rows)>;

Converter PlainConverter(bool isCast)
{
    return [isCast, recoder = tavlo::recoder()](auto& source, auto& target, auto& rows) {
        isCast ? recoder.cast(source, target, rows) : recoder.recode(source, target, rows);
    };
}

void SetRamp(tavlo::lut_recoder& recoder, const RecodeOptions& options, const PixelType& source,
             const PixelType& target)
{
    for (const ControlPoint& point : options.ramp) {
        try {
            recoder.set_color(point.position, tavlo::rgba::from(point.color));
        } catch (const tavlo::error& error) {
            if (error.code() != E_INVALIDARG)
                throw;
            throw Failure(error.code(), options.Purpose(),
                          "a colour ramp is for grey that turns into colour, not for " +
                              PixelTypeText(source) + " to " + PixelTypeText(target));
        }
    }
}

Converter ToneConverter(const RecodeOptions& options, const Descriptor& source, const Descriptor& target)
{
    tavlo::lut_recoder recoder(ForComponent(source), ForComponent(target),
                               {.contrast = options.contrast.value_or(1),
                                .brightness = options.brightness.value_or(0),
                                .gamma = options.gamma.value_or(1),
                                .sigma = options.sigma.value_or(1)});
    SetRamp(recoder, options, source.Type(), target.Type());
    return [recoder](auto& from, auto& to, auto& rows) mutable { recoder.recode(from, to, rows); };
}

Converter ConverterFor(const RecodeOptions& options, const Descriptor& source, const Descriptor& target)
{
    return Attempt(options.Purpose(), [&] {
        return options.NeedsToneCurve() ? ToneConverter(options, source, target)
                                        : PlainConverter(options.isCast);
    });
}

/// Converts part of the source, band by band, into the whole target.
void Convert(const Converter& convert, const Picture& source, const tavlo::rect& part, const Picture& target,
             std::string_view purpose, const PartsDone& rowsDone)
{
    // A band takes a moment, and is large enough for a table of its own not to count.
    constexpr std::int32_t bandPixels = 1 << 20;
    const std::int32_t band = std::max(bandPixels / target.geometry.width, 1);

    const auto from = Attempt("read the image", [&] { return source.image.read(); });
    const auto to = Attempt("write the image", [&] { return target.image.write(); });
    const std::int32_t height = target.geometry.height;
    for (std::int32_t done = 0; done < height;) {
        const std::int32_t next = done + std::min(band, height - done);
        const tavlo::rect rows = {part.left, part.top + done, part.right, part.top + next};
        Attempt(purpose, [&] { convert(from, to, {.from = rows, .to = {0, done}}); });
        done = next;
        rowsDone(done, height);
    }
    Attempt("report the image's change", [&] { to.invalidate(); });
}

/// Which conversion that is, in a word.
const char* ConversionOf(const RecodeOptions& options)
{
    return options.NeedsToneCurve() ? "tone" : options.isCast ? "cast" : "recode";
}

Json Recoded(const RecodeOptions& options, const Console& console)
{
    Progress progress = console.ShowProgress();
    if (options.type)
        FormatFor(options, *options.type);
    const Picture source = Load(options.picture, progress.Of("reading"));

    const PixelType type = ResultType(options, source.geometry.Type());
    const PngFormat format = FormatFor(options, type);
    const tavlo::rect part = PartOf(options, source.geometry);
    const Descriptor geometry = ResultGeometry(options, part, type);
    const Converter converter = ConverterFor(options, source.geometry, geometry);
    OutputFile file(ToUtf16(options.out));
    const Picture target{geometry, Create(geometry, Tavlo_SingleWriter)};
    Convert(converter, source, part, target, options.Purpose(), progress.Of("recoding"));

    const Reader reader(target.image, geometry, static_cast<std::int64_t>(format.Sample()));
    WritePng(
        geometry, format, reader.Base(), [&](auto bytes) { file.Write(bytes); }, progress.Of("writing"));
    file.Commit();
    return {{"in", options.picture},
            {"source", JsonOf(source.geometry)},
            {"rectangle", JsonOf(Rectangle{part.left, part.top, part.right, part.bottom})},
            {"conversion", ConversionOf(options)},
            {"geometry", JsonOf(geometry)},
            {"out", JsonOf(options.out, format, file.Size())}};
}

void Recode(const RecodeOptions& options, const Console& console)
{
    const auto start = std::chrono::steady_clock::now();
    Json object = Recoded(options, console);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    object["seconds"] = seconds.count();
    console.Result({}, object);
}

double FiniteNumber(const std::string& text)
{
    const std::optional<double> number = ReadNumber(text);
    if (!number || !std::isfinite(*number))
        throw std::invalid_argument("must be a finite number, not '" + text + "'");
    return *number;
}

void AddToneOptions(Options& options, const std::shared_ptr<RecodeOptions>& target, const Option& cast)
{
    const auto add = [&](const std::string& name, const std::string& help,
                         std::optional<double> RecodeOptions::*member) {
        const auto store = [=](double number) { target.get()->*member = number; };
        options.Add({.name = name,
                     .form = "NUMBER",
                     .help = help,
                     .read = Parsed(FiniteNumber, store),
                     .excluded = {&cast}});
    };
    add("--contrast", "Contrast of the tone curve; 1 when left out", &RecodeOptions::contrast);
    add("--brightness", "Brightness of the tone curve; 0 when left out", &RecodeOptions::brightness);
    add("--gamma", "Exponent of the tone curve; 1 when left out", &RecodeOptions::gamma);
    add("--sigma", "Steepness of the tone curve; 1 when left out", &RecodeOptions::sigma);
    const auto addColor = [target](const ControlPoint& point) { target->ramp.push_back(point); };
    options.Add({.name = "--color",
                 .form = "POSITION=RRGGBB",
                 .help = "A colour of the ramp that turns grey into colour, any number of times; POSITION is "
                         "0 to 1. Black at 0 and white at 1 are there when left out",
                 .read = Parsed(ParseControlPoint, addColor),
                 .isRepeatable = true,
                 .excluded = {&cast}});
}

} // namespace

Action SetUpRecode(Options& options)
{
    const auto target = std::make_shared<RecodeOptions>();
    AddPicture(options, "IN", target->picture);
    AddOut(options, target->out);
    options.Add({.name = "--to",
                 .form = "ENCODING,BITS",
                 .help = "Type of the result's pixels; the picture's when left out",
                 .read = Parsed(ParsePixelType, [target](const PixelType& type) { target->type = type; })});
    options.Add({.name = "--rect",
                 .form = "L,T,R,B",
                 .help = "Part of the picture to take; right and bottom are exclusive",
                 .read = Parsed(ParseRectangle, [target](const Rectangle& part) { target->part = part; })});
    const Option& cast =
        options.AddFlag("--cast", target->isCast, "Keep plain values: no scaling, no tone curve");
    AddToneOptions(options, target, cast);
    options.AfterReading([target] { RequirePng(target->out); });
    return [target](const Console& console) { Recode(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
