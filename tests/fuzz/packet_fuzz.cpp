#include "access/accessor_packet.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

using namespace Mardu::Sentel::Tavlo;

// Any bytes as an accessor's packet: reading and skipping end at the same place or fail
// together, and what was read is written as the bytes it came from.
namespace {

class Source final : public ByteSource
{
public:
    Source(const std::uint8_t* bytes, std::size_t count) : data(bytes), size(count) {}

    void Read(void* target, std::size_t bytes) override
    {
        if (bytes > size - position)
            throw std::out_of_range("end of packet");
        std::memcpy(target, data + position, bytes);
        position += bytes;
    }

    const std::uint8_t* data;
    std::size_t size;
    std::size_t position = 0;
};

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    bool isSkipped = true;
    Source skipped(data, size);
    try {
        SkipAccessorPacket(skipped);
    } catch (const std::out_of_range&) {
        isSkipped = false;
    }

    Source source(data, size);
    try {
        const AccessorPacket packet = ReadAccessorPacket(source);
        Require(isSkipped && skipped.position == source.position);
        const bool hasView = std::memcmp(data, "\0\0\0\0", 4) == 0;
        const auto written = hasView ? InProcessPacket(packet) : LocalPacket(packet);
        Require(written.size() == source.position && std::memcmp(written.data(), data, written.size()) == 0);
    } catch (const std::out_of_range&) {
        // A length with its top bit set can be skipped all the same.
    }
    return 0;
}
