#include "client/command_line/json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <ostream>
#include <type_traits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using Library = nlohmann::ordered_json;

Library ForLibrary(const Json& json)
{
    return std::visit(
        [](const auto& value) -> Library {
            using Kind = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Kind, Json::Array>) {
                Library array = Library::array();
                for (const Json& element : value)
                    array.push_back(ForLibrary(element));
                return array;
            } else if constexpr (std::is_same_v<Kind, Json::Object>) {
                Library object = Library::object();
                for (const Json::Member& member : value)
                    object[member.name] = ForLibrary(member.value);
                return object;
            } else {
                return value;
            }
        },
        json.Value());
}

std::string Text(const Json& json)
{
    return ForLibrary(json).dump(-1, ' ', false, Library::error_handler_t::replace);
}

} // namespace

Json::Json(std::initializer_list<Member> members) : content_(Object(members)) {}

Json& Json::operator[](std::string_view name)
{
    if (std::holds_alternative<std::nullptr_t>(content_))
        content_ = Object();
    Object& members = std::get<Object>(content_);
    const auto found = std::ranges::find(members, name, &Member::name);
    if (found != members.end())
        return found->value;
    return members.emplace_back(Member{std::string(name), nullptr}).value;
}

bool operator==(const Json& a, const Json& b)
{
    return a.content_ == b.content_;
}

std::ostream& operator<<(std::ostream& stream, const Json& json)
{
    return stream << Text(json);
}

Json TextOrNull(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

Json ErrorJson(const std::string& error, const std::string& code)
{
    return {{"error", error}, {"code", TextOrNull(code)}};
}

std::string JsonLine(const Json& value)
{
    return Text(value) + '\n';
}

} // namespace Mardu::Sentel::Tavlo::Client
