#include "client/json.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

Json NumberJson(double number)
{
    if (std::isnan(number))
        return "NaN";
    if (std::isinf(number))
        return number > 0 ? "Infinity" : "-Infinity";
    return number;
}

template <class Integer>
Json NumberJson(Integer number)
{
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

Json TextOrNull(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

Json ErrorJson(const std::string& error, const std::string& code)
{
    return {{"error", error}, {"code", TextOrNull(code)}};
}

std::string JsonLine(const Json& object)
{
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace Mardu::Sentel::Tavlo::Client
