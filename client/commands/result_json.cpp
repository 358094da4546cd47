#include "client/commands/result_json.h"

#include <cmath>
#include <type_traits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

template <class Number>
Json NumberJson(Number number)
{
    if constexpr (std::is_floating_point_v<Number>) {
        if (std::isnan(number))
            return "NaN";
        if (std::isinf(number))
            return number > 0 ? "Infinity" : "-Infinity";
    }
    return number;
}

} // namespace

Json JsonOf(const Descriptor& descriptor)
{
    return {{"width", descriptor.width},      {"height", descriptor.height},
            {"bits", descriptor.bits},        {"encoding", EncodingText(descriptor.encoding)},
            {"offset", descriptor.offset},    {"stride_x", descriptor.strideX},
            {"stride_y", descriptor.strideY}, {"size", ImageSize(descriptor)}};
}

Json JsonOf(const Rectangle& rectangle)
{
    return {{"left", rectangle.left},
            {"top", rectangle.top},
            {"right", rectangle.right},
            {"bottom", rectangle.bottom}};
}

Json JsonOf(const Value& value)
{
    return std::visit([](auto number) { return NumberJson(number); }, value);
}

Json JsonOf(const ComponentStatistics& component)
{
    Json object = {{"name", component.name}, {"count", component.count}, {"nan_count", component.notNumbers},
                   {"minimum", nullptr},     {"maximum", nullptr},       {"mean", nullptr}};
    if (component.count > 0) {
        object["minimum"] = JsonOf(component.minimum);
        object["maximum"] = JsonOf(component.maximum);
        object["mean"] = NumberJson(component.mean);
    }
    return object;
}

Json JsonOf(const std::string& path, const PngFormat& format, std::int64_t size)
{
    return {{"path", path}, {"size", size}, {"depth", format.depth}, {"channels", format.channels}};
}

} // namespace Mardu::Sentel::Tavlo::Client
