#include "client/commands.h"
#include "client/component.h"
#include "client/failure.h"
#include "client/output_file.h"
#include "client/parsed_option.h"
#include "client/picture_file.h"
#include "client/png_writer.h"
#include "client/progress.h"
#include "client/recode_arguments.h"
#include "client/rectangle.h"
#include "client/shared_image.h"
#include "client/terminal.h"
#include "client/text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct RecodeOptions
{
    std::string picture;
    std::string result;
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
    ComPtr<ITavlo2> image;
};

/// Leaves the file closed, so that the result may replace it.
Picture Load(ITavloFactory2& factory, const std::string& path)
{
    const PictureFile file(Wide(path));
    const Descriptor& geometry = file.Geometry();
    Picture picture{geometry, Create(factory, geometry, Tavlo_SingleWriter)};
    Fill(*picture.image.Get(), file, SizeFor(factory, geometry));
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

RECT PartOf(const RecodeOptions& options, const Descriptor& source)
{
    const Rectangle part = options.part.value_or(Rectangle{0, 0, source.width, source.height});
    if (part.right > source.width || part.bottom > source.height) {
        throw Failure(E_INVALIDARG, options.Purpose(),
                      "the rectangle reaches outside the picture of " + std::to_string(source.width) + " x " +
                          std::to_string(source.height) + " pixels");
    }
    return {part.left, part.top, part.right, part.bottom};
}

Descriptor ResultGeometry(const RecodeOptions& options, const RECT& part, const PixelType& type)
{
    const std::optional<Descriptor> geometry =
        PackedGeometry(part.right - part.left, part.bottom - part.top, type);
    if (!geometry)
        throw Failure(E_OUTOFMEMORY, options.Purpose(), imageSizeLimit);
    return *geometry;
}

TavloDescriptorData DataOf(const Descriptor& descriptor)
{
    const auto encoding = static_cast<TavloEncoding>(descriptor.encoding);
    return {descriptor.width,  descriptor.height,  descriptor.bits,   encoding,
            descriptor.offset, descriptor.strideX, descriptor.strideY};
}

/// Converts some rows of the source to a point of the target.
using Converter = std::function<HRESULT(const std::uint8_t* source, std::uint8_t* target, const RECT& rows,
                                        const POINT& point)>;

Converter PlainConverter(bool isCast, const TavloDescriptorData& source, const TavloDescriptorData& target)
{
    const auto method = isCast ? &IRecode::Cast : &IRecode::Recode;
    return [=, recoder = CreateRecoder()](auto from, auto to, const RECT& rows, const POINT& point) {
        return (recoder.Get()->*method)(&source, from, &target, to, &rows, &point);
    };
}

void SetRamp(ILUTRecode& recoder, const RecodeOptions& options, const PixelType& source,
             const PixelType& target)
{
    for (const ControlPoint& point : options.ramp) {
        const HRESULT result = recoder.SetColor(point.position, point.color);
        if (result == E_INVALIDARG) {
            throw Failure(result, options.Purpose(),
                          "a colour ramp is for grey that turns into colour, not for " +
                              PixelTypeText(source) + " to " + PixelTypeText(target));
        }
        Check(result, options.Purpose());
    }
}

Converter ToneConverter(const RecodeOptions& options, const Descriptor& source, const Descriptor& target)
{
    const TavloDescriptorData sourceData = DataOf(source);
    const TavloDescriptorData targetData = DataOf(target);
    ComPtr<ILUTRecode> recoder;
    Check(CreateRecoder()->CreateLUTRecoder(&sourceData, &targetData, &recoder), options.Purpose());
    const auto set = [&](auto setter, const std::optional<double>& value) {
        if (value)
            Check((recoder.Get()->*setter)(*value), options.Purpose());
    };
    set(&ILUTRecode::SetContrast, options.contrast);
    set(&ILUTRecode::SetBrightness, options.brightness);
    set(&ILUTRecode::SetGamma, options.gamma);
    set(&ILUTRecode::SetSigma, options.sigma);
    SetRamp(*recoder.Get(), options, source.Type(), target.Type());
    return [recoder](auto from, auto to, const RECT& rows, const POINT& point) {
        return recoder->Recode(from, to, &rows, &point);
    };
}

/// Converts part of the source, band by band, into the whole target.
void Convert(const Converter& convert, const Picture& source, const RECT& part, const Picture& target,
             std::string_view purpose, Progress& progress)
{
    // A band takes a moment, and is large enough for a table of its own not to count.
    constexpr std::int32_t bandPixels = 1 << 20;
    const std::int32_t band = std::max(bandPixels / target.geometry.width, 1);

    ComPtr<IReadAccessor> from;
    ComPtr<IWriteAccessor> to;
    Check(source.image->GetReadAccess(nullptr, 1.0, &from), "read the image");
    Check(target.image->GetWriteAccess(&to), "write the image");
    const auto pixels = static_cast<const std::uint8_t*>(from->Ptr(0));
    const auto result = static_cast<std::uint8_t*>(to->Ptr(0));
    const std::int32_t height = target.geometry.height;
    for (std::int32_t done = 0; done < height;) {
        progress.Report("recoding", done, height);
        const std::int32_t next = done + std::min(band, height - done);
        const RECT rows{part.left, part.top + done, part.right, part.top + next};
        const POINT point{0, done};
        Check(convert(pixels, result, rows, point), purpose);
        done = next;
    }
    Check(to->Invalidate(nullptr), "report the image's change");
}

void Recode(const RecodeOptions& options)
{
    Progress progress(TerminalSink());
    if (options.type)
        FormatFor(options, *options.type);
    const ComPtr<ITavloFactory2> factory = CreateFactory();
    const Picture source = Load(*factory.Get(), options.picture);

    const PixelType type = ResultType(options, source.geometry.Type());
    const PngFormat format = FormatFor(options, type);
    const RECT part = PartOf(options, source.geometry);
    const Descriptor geometry = ResultGeometry(options, part, type);
    const Converter converter =
        options.NeedsToneCurve() ? ToneConverter(options, source.geometry, geometry)
                                 : PlainConverter(options.isCast, DataOf(source.geometry), DataOf(geometry));
    OutputFile file(Wide(options.result));
    const Picture target{geometry, Create(*factory.Get(), geometry, Tavlo_SingleWriter)};
    Convert(converter, source, part, target, options.Purpose(), progress);

    const Reader reader(*target.image.Get(), geometry, static_cast<std::int64_t>(format.Sample()));
    WritePng(
        geometry, format, reader.Base(), [&](auto bytes) { file.Write(bytes); },
        [&](std::int32_t rows) { progress.Report("writing", rows, geometry.height); });
    file.Commit();
}

double FiniteNumber(const std::string& text)
{
    double number = 0;
    if (!CLI::detail::lexical_cast(text, number) || !std::isfinite(number))
        throw std::invalid_argument("must be a finite number, not '" + text + "'");
    return number;
}

} // namespace

Action SetUpRecode(CLI::App& options)
{
    const auto target = std::make_shared<RecodeOptions>();
    options.add_option("IN", target->picture, "A PNG, BMP, JPEG or TIFF file")->required()->type_name("");
    AddPngOption(options, target->result);
    AddParsed(options, "--to", "ENCODING,BITS", "Type of the result's pixels; the picture's when left out",
              ParsePixelType, [target](const PixelType& type) { target->type = type; });
    AddParsed(options, "--rect", "L,T,R,B", "Part of the picture to take; right and bottom are exclusive",
              ParseRectangle, [target](const Rectangle& part) { target->part = part; });
    const auto cast =
        options.add_flag("--cast", target->isCast, "Keep plain values: no scaling, no tone curve");
    const auto addNumber = [&](const std::string& name, const std::string& help,
                               std::optional<double> RecodeOptions::*member) {
        const auto store = [=](double number) { target.get()->*member = number; };
        AddParsed(options, name, "NUMBER", help, FiniteNumber, store)->excludes(cast);
    };
    addNumber("--contrast", "Contrast of the tone curve; 1 when left out", &RecodeOptions::contrast);
    addNumber("--brightness", "Brightness of the tone curve; 0 when left out", &RecodeOptions::brightness);
    addNumber("--gamma", "Exponent of the tone curve; 1 when left out", &RecodeOptions::gamma);
    addNumber("--sigma", "Steepness of the tone curve; 1 when left out", &RecodeOptions::sigma);
    const auto addColor = [target](const ControlPoint& point) { target->ramp.push_back(point); };
    AddParsed(
        options, "--color", "POSITION=RRGGBB",
        "A colour of the ramp that turns grey into colour, any number of times; POSITION is 0 to 1. Black "
        "at 0 and white at 1 are there when left out",
        ParseControlPoint, addColor)
        ->expected(1, CLI::detail::expected_max_vector_size)
        ->excludes(cast);
    return [target] { Recode(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
