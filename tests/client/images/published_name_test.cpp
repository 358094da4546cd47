#include "client/images/published_name.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

TEST(PublishedNameTest, AcceptsOrdinaryAndUnicodeNames)
{
    for (const char* name : {"scan", "a", "Camera 1.left", "Größe 画像", "\"", ":\\/.", " ", "a!b", "100%"})
        EXPECT_EQ(WhyNotAName(name), "") << name;
    EXPECT_EQ(WhyNotAName(std::string(255, 'n')), "");
}

TEST(PublishedNameTest, SaysWhatIsWrongWithOthers)
{
    EXPECT_EQ(WhyNotAName(""), "an image's name must not be empty");
    EXPECT_EQ(WhyNotAName(std::string(256, 'n')), "an image's name has at most 255 bytes of UTF-8");
    for (const char* name : {"a\nb", "\t", "a\x7F", "\x01"})
        EXPECT_EQ(WhyNotAName(name), "an image's name must not contain control characters") << name;
}

TEST(PublishedNameTest, AnImagesItemGivesItsName)
{
    EXPECT_EQ(ImageItem("scan"), L"Tavlo.scan");
    EXPECT_EQ(ImageItem("left camera.1"), L"Tavlo.left camera.1");
    for (const char* name : {"scan", "Größe 画像.1", "a!b", "100%", "%41", "\x80\xFF"})
        EXPECT_EQ(NameInImageItem(ImageItem(name)), name);
}

TEST(PublishedNameTest, AnItemIsPlainAsciiWithoutTheDelimiterOfMonikers)
{
    EXPECT_EQ(ImageItem("Größe"), L"Tavlo.Gr%C3%B6%C3%9Fe");
    EXPECT_EQ(ImageItem("a!b"), L"Tavlo.a%21b");
    EXPECT_EQ(ImageItem("100%"), L"Tavlo.100%25");
    EXPECT_EQ(NameInImageItem(L"Tavlo.Gr%c3%b6%c3%9fe"), "Größe");
}

TEST(PublishedNameTest, AProcessItemGivesItsProcessAndName)
{
    EXPECT_EQ(ProcessItem("scan", 4711), L"TavloProcess.4711.scan");
    for (const std::uint32_t process : {1u, 312u, 4294967295u}) {
        const auto read = ReadProcessItem(ProcessItem("7.a.ö", process));
        ASSERT_TRUE(read);
        EXPECT_EQ(read->process, process);
        EXPECT_EQ(read->name, "7.a.ö");
    }
}

TEST(PublishedNameTest, ForeignItemsAreNeither)
{
    for (const wchar_t* item : {L"",
                                L"Tavlo",
                                L"Tavlo.",
                                L"tavlo.scan",
                                L" Tavlo.scan",
                                L"Tavlo.Gr\u00F6\u00DFe",
                                L"Tavlo.a!b",
                                L"Tavlo.a%",
                                L"Tavlo.a%4",
                                L"Tavlo.a%4x",
                                L"Tavlo.a%x4",
                                L"Tavlo.a%0A",
                                L"Tavlo.a\nb",
                                L"TavloProcess.",
                                L"TavloProcess.12",
                                L"TavloProcess.12.",
                                L"TavloProcess.12.%",
                                L"TavloProcess..scan",
                                L"TavloProcess.x.scan",
                                L"TavloProcess.0.scan",
                                L"TavloProcess.-1.scan",
                                L"TavloProcess.12x.scan",
                                L"TavloProcess.4294967296.scan",
                                L"TavloProcess.99999999999999999999999.scan"}) {
        EXPECT_FALSE(NameInImageItem(item)) << item;
        EXPECT_FALSE(ReadProcessItem(item)) << item;
    }
    EXPECT_FALSE(NameInImageItem(L"TavloProcess.12.scan"));
    EXPECT_FALSE(ReadProcessItem(L"Tavlo.scan"));
    EXPECT_FALSE(NameInImageItem(L"Tavlo." + std::wstring(256, L'n')));
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
