#include "module/nullstream.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <locale>
#include <string>

using namespace Mardu;

namespace {

/// Tells when it is formatted.
struct Formatted
{
    mutable int formatted = 0;
};

template <class Char>
std::basic_ostream<Char>& operator<<(std::basic_ostream<Char>& out, const Formatted& watched)
{
    ++watched.formatted;
    return out << 1;
}

template <class Char>
class NullStream : public testing::Test
{
protected:
    basic_nullstream<Char> stream;
};

using Characters = testing::Types<char, wchar_t>;

} // namespace

TYPED_TEST_SUITE(NullStream, Characters);

TYPED_TEST(NullStream, StartsWell)
{
    EXPECT_TRUE(this->stream.good());
}

TYPED_TEST(NullStream, FormatsWhatItDrops)
{
    const Formatted watched;
    this->stream << watched << watched;
    EXPECT_EQ(watched.formatted, 2);
}

TYPED_TEST(NullStream, ObeysManipulators)
{
    this->stream << std::hex << std::setw(12) << 255 << std::setprecision(3) << 1.5 << std::boolalpha << true;
    EXPECT_TRUE(this->stream.good());
    EXPECT_TRUE(this->stream.flags() & std::ios_base::hex);
    EXPECT_EQ(this->stream.width(), 0);
    EXPECT_EQ(this->stream.precision(), 3);
}

TYPED_TEST(NullStream, StaysWellHoweverMuchIsWritten)
{
    const std::basic_string<TypeParam> text(100000, TypeParam{'x'});
    for (int i = 0; i < 20; ++i)
        this->stream << text;
    EXPECT_TRUE(this->stream.good());
}

TYPED_TEST(NullStream, StaysWellWhenItIsFlushed)
{
    this->stream << 1 << std::endl << std::flush;
    EXPECT_TRUE(this->stream.good());
}

TYPED_TEST(NullStream, HasNoPosition)
{
    EXPECT_EQ(this->stream.tellp(), typename basic_nullstream<TypeParam>::pos_type(-1));
}

TYPED_TEST(NullStream, AcceptsEveryCharacterUnchanged)
{
    using Traits = std::char_traits<TypeParam>;
    for (int i = 0; i < 0xFFFF; ++i) {
        const auto character = static_cast<TypeParam>(i);
        ASSERT_EQ(this->stream.rdbuf()->sputc(character), Traits::to_int_type(character)) << i;
    }
}

TEST(DiagnosticStream, IsOneStreamOfTheModule)
{
    EXPECT_EQ(&DiagnosticStream(), &DiagnosticStream());
}

// What is made at its first use only has the locale of that moment.
TEST(DiagnosticStream, IsThereFromTheStartOfTheModule)
{
    const std::locale later(std::locale::classic(), new std::numpunct<wchar_t>);
    const std::locale before = std::locale::global(later);
    EXPECT_TRUE(DiagnosticStream().getloc() == before);
    std::locale::global(before);
}

TEST(DiagnosticStream, NeverFails)
{
    for (int i = 0; i < 1000; ++i)
        DiagnosticStream() << L"line " << i << L' ' << 0.5 << L" \x00E4\xFF80\x4E00\xFFFF" << std::endl;
    EXPECT_TRUE(DiagnosticStream().good());
}
