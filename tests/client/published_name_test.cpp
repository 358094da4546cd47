#include "client/published_name.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

TEST(PublishedNameTest, AcceptsOrdinaryAndUnicodeNames)
{
    for (const char* name : {"scan", "a", "Camera 1.left", "Größe 画像", "\"", ":\\/.", " "})
        EXPECT_EQ(WhyNotAName(name), "") << name;
    EXPECT_EQ(WhyNotAName(std::string(255, 'n')), "");
}

TEST(PublishedNameTest, SaysWhatIsWrongWithOthers)
{
    EXPECT_EQ(WhyNotAName(""), "an image's name must not be empty");
    EXPECT_EQ(WhyNotAName(std::string(256, 'n')), "an image's name has at most 255 bytes of UTF-8");
    EXPECT_EQ(WhyNotAName("a!b"), "an image's name must not contain '!'");
    for (const char* name : {"a\nb", "\t", "a\x7F", "\x01"})
        EXPECT_EQ(WhyNotAName(name), "an image's name must not contain control characters") << name;
}

TEST(PublishedNameTest, AnImagesItemGivesItsName)
{
    EXPECT_EQ(ImageItem(L"scan"), L"Tavlo.scan");
    EXPECT_EQ(NameInImageItem(ImageItem(L"Größe 画像.1")), L"Größe 画像.1");
}

TEST(PublishedNameTest, AProcessItemGivesItsProcessAndName)
{
    EXPECT_EQ(ProcessItem(L"scan", 4711), L"TavloProcess.4711.scan");
    for (const std::uint32_t process : {1u, 312u, 4294967295u}) {
        const auto read = ReadProcessItem(ProcessItem(L"7.a.b", process));
        ASSERT_TRUE(read);
        EXPECT_EQ(read->process, process);
        EXPECT_EQ(read->name, L"7.a.b");
    }
}

TEST(PublishedNameTest, ForeignItemsAreNeither)
{
    for (const wchar_t* item :
         {L"", L"Tavlo", L"Tavlo.", L"tavlo.scan", L" Tavlo.scan", L"TavloProcess.", L"TavloProcess.12",
          L"TavloProcess.12.", L"TavloProcess..scan", L"TavloProcess.x.scan", L"TavloProcess.0.scan",
          L"TavloProcess.-1.scan", L"TavloProcess.12x.scan", L"TavloProcess.4294967296.scan",
          L"TavloProcess.99999999999999999999999.scan"}) {
        EXPECT_FALSE(NameInImageItem(item)) << item;
        EXPECT_FALSE(ReadProcessItem(item)) << item;
    }
    EXPECT_FALSE(NameInImageItem(L"TavloProcess.12.scan"));
    EXPECT_FALSE(ReadProcessItem(L"Tavlo.scan"));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
