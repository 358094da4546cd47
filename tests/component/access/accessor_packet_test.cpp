#include "access/accessor_packet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

using namespace Mardu::Sentel::Tavlo;

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Bytes in memory; counts what is asked for, also of reads that fail.
class MemorySource final : public ByteSource
{
public:
    explicit MemorySource(Bytes bytes) : bytes_(std::move(bytes)) {}

    void Read(void* data, std::size_t bytes) override
    {
        largestRead = std::max(largestRead, bytes);
        if (bytes > bytes_.size() - position)
            throw std::out_of_range("The packet ends too early");
        std::memcpy(data, bytes_.data() + position, bytes);
        position += bytes;
    }

    std::size_t position = 0;
    std::size_t largestRead = 0;

private:
    Bytes bytes_;
};

/// Gives zeros for ever, without memory behind them.
class EndlessSource final : public ByteSource
{
public:
    explicit EndlessSource(Bytes head) : head_(std::move(head)) {}

    void Read(void* data, std::size_t bytes) override
    {
        auto* target = static_cast<std::uint8_t*>(data);
        for (std::size_t i = 0; i < bytes; ++i, ++position)
            target[i] = position < head_.size() ? head_[static_cast<std::size_t>(position)] : std::uint8_t{0};
    }

    std::uint64_t position = 0;

private:
    Bytes head_;
};

struct NamedName
{
    const char* title;
    std::u16string name;
};

const AccessorPacket example = {0x1122334455667788u, u"{A\u00E9\U0001F600}"};

AccessorPacket Read(const Bytes& bytes)
{
    MemorySource source(bytes);
    return ReadAccessorPacket(source);
}

class PacketNames : public testing::TestWithParam<NamedName>
{
};

class FalseNameLength : public testing::TestWithParam<std::uint32_t>
{
protected:
    static Bytes Local()
    {
        const std::uint32_t n = GetParam();
        return {static_cast<std::uint8_t>(n),
                static_cast<std::uint8_t>(n >> 8),
                static_cast<std::uint8_t>(n >> 16),
                static_cast<std::uint8_t>(n >> 24),
                'a',
                0,
                'b',
                0};
    }

    static Bytes InProcess()
    {
        Bytes bytes(12);
        const Bytes local = Local();
        bytes.insert(bytes.end(), local.begin(), local.end());
        return bytes;
    }
};

} // namespace

TEST(AccessorPacket, WithinTheProcessIsMarkerViewLengthAndName)
{
    const Bytes expected = {
        0,    0,    0,    0,                                                // 0: marker
        0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11,                     // 4: view
        6,    0,    0,    0,                                                // 12: code units of the name
        '{',  0,    'A',  0,    0xE9, 0,    0x3D, 0xD8, 0x00, 0xDE, '}', 0, // 16: name
    };
    EXPECT_EQ(InProcessPacket(example), expected);
}

TEST(AccessorPacket, ForAnotherProcessIsLengthAndName)
{
    const Bytes expected = {
        6,   0, 0,   0,                                          // 0: code units of the name
        '{', 0, 'A', 0, 0xE9, 0, 0x3D, 0xD8, 0x00, 0xDE, '}', 0, // 4: name
    };
    EXPECT_EQ(LocalPacket(example), expected);
}

TEST(AccessorPacket, LengthIsLittleEndian)
{
    const Bytes bytes = LocalPacket({0, std::u16string(0x10203, u'x')});
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 4), (Bytes{0x03, 0x02, 0x01, 0x00}));
    EXPECT_EQ(bytes.size(), 4 + 2 * std::size_t{0x10203});
}

TEST(AccessorPacket, SizeMaxIsTheFormWithAView)
{
    for (const std::size_t length : {0u, 1u, 38u, 32767u}) {
        const AccessorPacket packet = {1, std::u16string(length, u'n')};
        EXPECT_EQ(AccessorPacketSizeMax(length), InProcessPacket(packet).size());
        EXPECT_EQ(AccessorPacketSizeMax(length), LocalPacket(packet).size() + 12);
    }
}

TEST_P(PacketNames, ComeBackWithTheView)
{
    for (const std::uint64_t view : {std::uint64_t{1}, std::uint64_t{0x7FFE00000000}, ~std::uint64_t{0}}) {
        const AccessorPacket packet = Read(InProcessPacket({view, GetParam().name}));
        EXPECT_EQ(packet.view, view);
        EXPECT_EQ(packet.mapName, GetParam().name);
    }
}

TEST_P(PacketNames, ComeBackWithoutAView)
{
    if (GetParam().name.empty()) // begins like the other form
        return;
    const AccessorPacket packet = Read(LocalPacket({77, GetParam().name}));
    EXPECT_EQ(packet.view, 0u);
    EXPECT_EQ(packet.mapName, GetParam().name);
}

TEST_P(PacketNames, AreReadAndSkippedToTheirEndAndNoFurther)
{
    for (Bytes bytes : {InProcessPacket({5, GetParam().name}), LocalPacket({0, GetParam().name + u'.'})}) {
        const std::size_t size = bytes.size();
        bytes.insert(bytes.end(), 100, 0xCC);
        MemorySource read(bytes);
        ReadAccessorPacket(read);
        EXPECT_EQ(read.position, size);
        MemorySource skipped(bytes);
        SkipAccessorPacket(skipped);
        EXPECT_EQ(skipped.position, size);
    }
}

TEST_P(PacketNames, CutAnywhereAreRefused)
{
    for (const Bytes& bytes :
         {InProcessPacket({5, GetParam().name}), LocalPacket({0, GetParam().name + u'.'})}) {
        // Of long packets not each length, but the ones around the pieces they are read in.
        const std::size_t step = bytes.size() > 1000 ? 4093 : 1;
        for (std::size_t length = 0; length < bytes.size(); length += step) {
            const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
            MemorySource read(cut);
            EXPECT_THROW(ReadAccessorPacket(read), std::out_of_range) << length;
            MemorySource skipped(cut);
            EXPECT_THROW(SkipAccessorPacket(skipped), std::out_of_range) << length;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, PacketNames,
                         testing::Values(NamedName{"NoUnits", u""}, NamedName{"OneUnit", u"x"},
                                         NamedName{"Guid", u"{01234567-89AB-CDEF-0123-456789ABCDEF}"},
                                         NamedName{"InnerNull", std::u16string(u"a\0b", 3)},
                                         NamedName{"LoneSurrogates", std::u16string{0xDC00, 0xD800, 0xFFFF}},
                                         NamedName{"OnePiece", std::u16string(2048, u'p')},
                                         NamedName{"MoreThanAPiece", std::u16string(2049, u'p')},
                                         NamedName{"ManyPieces", std::u16string(100001, u'q')}),
                         [](const auto& tested) { return tested.param.title; });

TEST_P(FalseNameLength, IsRefusedWithoutMemoryForIt)
{
    for (const Bytes& bytes : {Local(), InProcess()}) {
        MemorySource source(bytes);
        EXPECT_THROW(ReadAccessorPacket(source), std::out_of_range);
        EXPECT_LE(source.largestRead, 65536u);
    }
}

INSTANTIATE_TEST_SUITE_P(Units, FalseNameLength,
                         testing::Values(3u, 0x7FFFFFFFu, 0x80000000u, 0x80000002u, 0xFFFFFFFEu,
                                         0xFFFFFFFFu));

TEST(AccessorPacket, IsSkippedWithoutTheTopBitOfItsLength)
{
    for (const bool inProcess : {false, true}) {
        Bytes bytes = inProcess ? InProcessPacket({9, u"abc"}) : LocalPacket({0, u"abc"});
        bytes[inProcess ? 15u : 3u] |= 0x80u;
        const std::size_t size = bytes.size();
        bytes.insert(bytes.end(), 50, 0);
        MemorySource source(bytes);
        SkipAccessorPacket(source);
        EXPECT_EQ(source.position, size);
    }
}

TEST(AccessorPacket, WithTheTopBitAloneIsSkippedAsOneWithoutAName)
{
    MemorySource source(Bytes{0, 0, 0, 0x80, 1, 2, 3, 4});
    SkipAccessorPacket(source);
    EXPECT_EQ(source.position, 4u) << "and not taken for the form with a view";
}

TEST(AccessorPacket, OfALongNameIsSkippedInSmallPieces)
{
    constexpr std::uint32_t units = 0x02000000;
    EndlessSource source({0, 0, 0, 2});
    SkipAccessorPacket(source);
    EXPECT_EQ(source.position, 4 + 2 * std::uint64_t{units});
}
