#pragma once

#include "tests/component/component_test.h"

#include <tavlo/tavlo.hpp>

#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>

namespace tavlo {

inline void PrintTo(const rect& value, std::ostream* out)
{
    *out << "{" << value.left << ", " << value.top << ", " << value.right << ", " << value.bottom << "}";
}

inline void PrintTo(const rgba& value, std::ostream* out)
{
    *out << "{" << +value.r << ", " << +value.g << ", " << +value.b << ", " << +value.a << "}";
}

inline void PrintTo(const descriptor& value, std::ostream* out)
{
    *out << value.width << " x " << value.height << ", " << encoding_name(value.encoding) << " " << value.bits
         << ", strides " << value.stride_x << " " << value.stride_y << ", offset " << value.offset;
}

} // namespace tavlo

/// The tavlo::error that the action throws; a success when it throws none.
template <class Action>
tavlo::error ErrorOf(Action action)
{
    try {
        action();
    } catch (const tavlo::error& caught) {
        return caught;
    }
    return tavlo::error(S_OK);
}

/// The text of the exception of this type that the action throws; empty when it throws none.
template <class Exception, class Action>
std::string TextOf(Action action)
{
    try {
        action();
    } catch (const Exception& caught) {
        return caught.what();
    }
    return {};
}

#define EXPECT_THROWS_HR(expected, action) EXPECT_HR(expected, ErrorOf([&] { action; }).code())

/// Packed 8-bit grey.
inline tavlo::descriptor Grey(std::int32_t width, std::int32_t height)
{
    return {.width = width, .height = height, .encoding = Tavlo_Unsigned};
}
