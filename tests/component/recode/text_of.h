#pragma once

#include <gtest/gtest.h>

#include <string>

/// Expects an exception of exactly this type and returns its text.
template <class Exception, class Call>
std::string TextOf(const Call& call)
{
    try {
        call();
    } catch (const Exception& e) {
        EXPECT_EQ(typeid(e), typeid(Exception));
        return e.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return "";
}
