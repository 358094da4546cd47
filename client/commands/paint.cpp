#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/commands/result_json.h"
#include "client/foundation/failure.h"
#include "client/foundation/text_parsing.h"
#include "client/foundation/utf16.h"
#include "client/images/image_options.h"
#include "client/images/shared_image.h"
#include "client/pictures/pattern.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct PaintOptions : ImageOptions
{
    Pattern pattern;
    std::optional<Rectangle> part;
};

const std::map<std::string, PatternKind> kinds = {
    {"gradient", PatternKind::Gradient},
    {"checkerboard", PatternKind::Checkerboard},
    {"noise", PatternKind::Noise},
    {"solid", PatternKind::Solid},
};

Rectangle PartOf(const Descriptor& descriptor, const std::optional<Rectangle>& wanted)
{
    const Rectangle part = wanted.value_or(Rectangle{0, 0, descriptor.width, descriptor.height});
    if (part.right > descriptor.width || part.bottom > descriptor.height)
        throw Failure(E_INVALIDARG, "paint the image",
                      "the rectangle " + RectangleText(part) + " reaches outside the image, which has " +
                          std::to_string(descriptor.width) + " x " + std::to_string(descriptor.height) +
                          " pixels");
    return part;
}

std::string NameOf(PatternKind kind)
{
    return std::ranges::find(kinds, kind, [](const auto& known) { return known.second; })->first;
}

void PaintImage(const PaintOptions& options, const Console& console)
{
    const auto [image, descriptor] = Open(options, Tavlo_MultipleWriters);
    const std::optional<SampleType> type = SampleTypeOf(descriptor);
    if (!type)
        throw Failure(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), "paint the image",
                      PixelTypeText(descriptor.Type()) + " is no type of pixels");
    const Rectangle part = PartOf(descriptor, options.part);
    const Writer writer(image, descriptor, type->Size());
    {
        Progress progress = console.ShowProgress();
        Paint(descriptor, *type, options.pattern, part, writer.Base(), progress.Of("painting"));
    }
    writer.Invalidate(part);

    Json object = JsonOf(static_cast<const ImageOptions&>(options));
    object["geometry"] = JsonOf(descriptor);
    object["pattern"] = NameOf(options.pattern.kind);
    object["rectangle"] = JsonOf(part);
    console.Note("painted " + RectangleText(part) + "\n", object);
}

} // namespace

Action SetUpPaint(Options& options)
{
    const auto target = std::make_shared<PaintOptions>();
    AddImageOptions(options, target, Naming::ByNameOrSection);
    const Option& kind =
        options.Add({.name = "--pattern",
                     .form = "PATTERN",
                     .help = "gradient (when left out), checkerboard, noise or solid",
                     .read = [target](const std::string& text) { target->pattern.kind = kinds.at(text); },
                     .words = WordsOf(kinds)});
    options.Add({.name = "--rect",
                 .form = "L,T,R,B",
                 .help = "Part to paint; right and bottom are exclusive",
                 .read = Parsed(ParseRectangle, [target](const Rectangle& part) { target->part = part; })});
    const auto addValues = [target](const std::string& text) {
        for (const std::string_view value : Split(text))
            target->pattern.values.emplace_back(value);
    };
    const Option& value =
        options.Add({.name = "--value",
                     .form = "V[,V...]",
                     .help = "The solid value: one, or one for each component, such as RED,GREEN,BLUE,ALPHA",
                     .read = addValues});
    const auto parseSide = [](const std::string& text) { return ParseNumberFrom(1, "the side", text); };
    options.Add({.name = "--square",
                 .form = "PIXELS",
                 .help = "Side of the checkerboard's squares; 8 when left out",
                 .read = Parsed(parseSide, [target](std::int32_t side) { target->pattern.square = side; })});
    const auto parseSeed = [](const std::string& text) { return ParseNumberFrom(0, "the seed", text); };
    const auto setSeed = [target](std::int32_t seed) {
        target->pattern.seed = static_cast<std::uint32_t>(seed);
    };
    options.Add({.name = "--seed",
                 .form = "NUMBER",
                 .help = "Start of the noise; the same gives the same; 1 when left out",
                 .read = Parsed(parseSeed, setSeed)});
    options.AfterReading([target, &kind, &value] {
        Settle(*target, Naming::ByNameOrSection);
        if (value.isGiven && !kind.isGiven)
            target->pattern.kind = PatternKind::Solid;
        const bool isSolid = target->pattern.kind == PatternKind::Solid;
        if (isSolid && !value.isGiven)
            throw Missing("--value");
        if (!isSolid && value.isGiven)
            throw WrongValue("--value", "goes with the pattern solid only");
    });
    return [target](const Console& console) { PaintImage(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
