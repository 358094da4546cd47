#include "client/commands.h"
#include "client/failure.h"
#include "client/fields.h"
#include "client/image_options.h"
#include "client/parsed_option.h"
#include "client/pattern.h"
#include "client/shared_image.h"
#include "client/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
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

Action SetUpPaint(CLI::App& options)
{
    const auto target = std::make_shared<PaintOptions>();
    AddImageOptions(options, target, Naming::ByNameOrSection);
    CLI::Option* const kind =
        options
            .add_option_function<std::string>(
                "--pattern", [target](const std::string& text) { target->pattern.kind = kinds.at(text); },
                "gradient (when left out), checkerboard, noise or solid")
            ->check(CLI::IsMember(kinds).description(""))
            ->type_name("PATTERN");
    AddParsed(options, "--rect", "L,T,R,B", "Part to paint; right and bottom are exclusive", ParseRectangle,
              [target](const Rectangle& part) { target->part = part; });
    CLI::Option* const value = AddParsed(
        options, "--value", "V[,V...]",
        "The solid value: one, or one for each component, such as RED,GREEN,BLUE,ALPHA",
        [](const std::string& text) { return text; },
        [target](const std::string& text) {
            for (const std::string_view field : Fields(text))
                target->pattern.values.emplace_back(field);
        });
    AddParsed(
        options, "--square", "PIXELS", "Side of the checkerboard's squares; 8 when left out",
        [](const std::string& text) { return ParseNumberFrom(1, "the side", text); },
        [target](std::int32_t square) { target->pattern.square = square; });
    AddParsed(
        options, "--seed", "NUMBER", "Start of the noise; the same gives the same; 1 when left out",
        [](const std::string& text) { return ParseNumberFrom(0, "the seed", text); },
        [target](std::int32_t seed) { target->pattern.seed = static_cast<std::uint32_t>(seed); });
    options.callback([=] {
        Settle(*target, Naming::ByNameOrSection);
        if (!value->empty() && kind->empty())
            target->pattern.kind = PatternKind::Solid;
        const bool isSolid = target->pattern.kind == PatternKind::Solid;
        if (isSolid && value->empty())
            throw CLI::RequiredError("--value");
        if (!isSolid && !value->empty())
            throw CLI::ValidationError("--value", "goes with the pattern solid only");
    });
    return [target](const Console& console) { PaintImage(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
