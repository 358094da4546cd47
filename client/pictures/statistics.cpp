#include "client/pictures/statistics.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstring>
#include <iterator>
#include <type_traits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

template <typename T>
using Widest = std::conditional_t<std::floating_point<T>, double,
                                  std::conditional_t<std::unsigned_integral<T>, std::uint64_t, std::int64_t>>;

template <typename T>
ComponentStatistics StatisticsOfComponent(const Descriptor& descriptor, const std::uint8_t* first,
                                          const std::function<void(std::int64_t)>& rowsDone)
{
    ComponentStatistics result;
    T minimum{};
    T maximum{};
    // Holds the exact sum of any image of integers up to 32 bits.
    long double sum = 0;
    for (std::int64_t y = 0; y < descriptor.height; ++y) {
        for (std::int64_t x = 0; x < descriptor.width; ++x) {
            T sample;
            std::memcpy(&sample, first + y * descriptor.strideY + x * descriptor.strideX, sizeof sample);
            if constexpr (std::floating_point<T>) {
                if (std::isnan(sample)) {
                    ++result.notNumbers;
                    continue;
                }
            }
            minimum = result.count == 0 ? sample : std::min(minimum, sample);
            maximum = result.count == 0 ? sample : std::max(maximum, sample);
            sum += static_cast<long double>(sample);
            ++result.count;
        }
        rowsDone(y + 1);
    }
    result.minimum = static_cast<Widest<T>>(minimum);
    result.maximum = static_cast<Widest<T>>(maximum);
    if (result.count > 0)
        result.mean = static_cast<double>(sum / static_cast<long double>(result.count));
    return result;
}

template <typename T>
std::vector<ComponentStatistics> StatisticsOfAll(const Descriptor& descriptor, const SampleType& type,
                                                 const std::uint8_t* base, const PartsDone& rowsDone)
{
    std::vector<ComponentStatistics> all;
    const std::uint8_t* first = base + descriptor.offset;
    const std::int64_t rows = std::int64_t{descriptor.height} * std::ssize(type.components);
    for (const std::string_view name : type.components) {
        const std::int64_t before = descriptor.height * std::ssize(all);
        all.push_back(StatisticsOfComponent<T>(descriptor, first, [&](std::int64_t done) {
            if (rowsDone)
                rowsDone(before + done, rows);
        }));
        all.back().name = name;
        first += sizeof(T);
    }
    return all;
}

} // namespace

std::vector<ComponentStatistics> StatisticsOf(const Descriptor& descriptor, const SampleType& type,
                                              const std::uint8_t* base, const PartsDone& rowsDone)
{
    switch (type.number) {
    case Number::UInt8:
        return StatisticsOfAll<std::uint8_t>(descriptor, type, base, rowsDone);
    case Number::UInt16:
        return StatisticsOfAll<std::uint16_t>(descriptor, type, base, rowsDone);
    case Number::UInt32:
        return StatisticsOfAll<std::uint32_t>(descriptor, type, base, rowsDone);
    case Number::UInt64:
        return StatisticsOfAll<std::uint64_t>(descriptor, type, base, rowsDone);
    case Number::Int8:
        return StatisticsOfAll<std::int8_t>(descriptor, type, base, rowsDone);
    case Number::Int16:
        return StatisticsOfAll<std::int16_t>(descriptor, type, base, rowsDone);
    case Number::Int32:
        return StatisticsOfAll<std::int32_t>(descriptor, type, base, rowsDone);
    case Number::Int64:
        return StatisticsOfAll<std::int64_t>(descriptor, type, base, rowsDone);
    case Number::Float32:
        return StatisticsOfAll<float>(descriptor, type, base, rowsDone);
    case Number::Float64:
        return StatisticsOfAll<double>(descriptor, type, base, rowsDone);
    }
    return {};
}

std::string ValueText(const Value& value)
{
    char text[64];
    const auto write = [&](auto number) {
        return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
    };
    return std::visit(write, value);
}

} // namespace Mardu::Sentel::Tavlo::Client
