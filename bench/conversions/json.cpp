#include "conversions/json.h"

#include "recode/kernels/simd_level.h"

#include <libyuv/version.h>
#include <opencv2/core/version.hpp>

#include <cstdio>

using namespace Mardu::Sentel::Tavlo;

namespace Bench {
namespace {

std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string Number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

template <class Item, class Text>
std::string List(const std::vector<Item>& items, const char* separator, const Text& text)
{
    std::string list = "[";
    for (const Item& item : items) {
        if (&item != &items.front())
            list += separator;
        list += text(item);
    }
    return list + "]";
}

std::string Of(const Standing& s, double pixels)
{
    return "{\"name\": " + Quoted(s.name) + ", \"seconds\": " + Number(s.seconds) + ", \"quartiles\": [" +
           Number(s.lowest) + ", " + Number(s.highest) + "], \"rate\": " + Number(pixels / s.seconds) +
           ", \"ratio\": " + Number(s.ratio) + ", \"same_result\": " + (s.sameResult ? "true" : "false") +
           "}";
}

std::string Of(const Outcome& o)
{
    const Contest& c = o.contest;
    std::string text = "{\"work\": " + Quoted(c.work) + ", \"size\": " + Quoted(c.size) +
                       ", \"pixels\": " + Number(c.pixels) + ", \"rounds\": " + std::to_string(o.rounds);
    if (c.goal != 0)
        text += ", \"goal\": " + Number(c.goal) + ", \"against\": " + List(c.against, ", ", Quoted) +
                ", \"ratio\": " + Number(o.ratio) + ", \"met\": " + (o.met ? "true" : "false");
    return text + ",\n   \"contenders\": " +
           List(o.standings, ",\n     ", [&c](const Standing& s) { return Of(s, c.pixels); }) + "}";
}

std::string Of(const std::vector<Outcome>& outcomes)
{
    return List(outcomes, ",\n  ", [](const Outcome& o) { return Of(o); });
}

} // namespace

std::string ToJson(const std::vector<Outcome>& table, const std::vector<Outcome>& curve)
{
    const std::string level = NameOf(ActiveSimdLevel());
    return "{\n \"compiler\": " + Quoted("GCC " __VERSION__) + ",\n \"opencv\": " + Quoted(CV_VERSION) +
           ",\n \"libyuv\": " + Quoted(std::to_string(LIBYUV_VERSION)) + ",\n \"level\": " + Quoted(level) +
           ",\n \"table\": " + Of(table) + ",\n \"curve\": " + Of(curve) + "\n}\n";
}

} // namespace Bench
