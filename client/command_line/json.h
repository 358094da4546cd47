#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// What --json prints: null, a truth, a number, a text, an array, or an object whose members keep
/// their order. Members are named in snake_case.
class Json
{
public:
    struct Member;
    using Array = std::vector<Json>;
    using Object = std::vector<Member>;
    using Content =
        std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string, Array, Object>;

    Json(std::nullptr_t = nullptr) {}
    Json(std::same_as<bool> auto truth) : content_(truth) {}
    Json(std::floating_point auto number) : content_(double{number}) {}
    Json(std::signed_integral auto number) : content_(std::int64_t{number}) {}
    template <std::unsigned_integral Number>
    requires(!std::same_as<Number, bool>) Json(Number number) : content_(std::uint64_t{number}) {}
    Json(std::string text) : content_(std::move(text)) {}
    Json(std::string_view text) : content_(std::string(text)) {}
    Json(const char* text) : content_(std::string(text)) {}
    Json(Array elements) : content_(std::move(elements)) {}

    /// An object: {{"name", value}, ...}.
    Json(std::initializer_list<Member> members);

    /// The member of this name, which is added when there is none; null becomes an object.
    Json& operator[](std::string_view name);

    const Content& Value() const noexcept { return content_; }

    friend bool operator==(const Json& a, const Json& b);
    friend std::ostream& operator<<(std::ostream& stream, const Json& json);

private:
    Content content_;
};

struct Json::Member
{
    std::string name;
    Json value;

    friend bool operator==(const Member&, const Member&) = default;
};

/// The text, or null when it is empty.
Json TextOrNull(const std::string& text);

/// What --json prints about an error; code is its HRESULT as text, empty when it has none.
Json ErrorJson(const std::string& error, const std::string& code);

/// The value on one line, ended. Text that is no UTF-8 gets replacement characters.
std::string JsonLine(const Json& value);

} // namespace Mardu::Sentel::Tavlo::Client
