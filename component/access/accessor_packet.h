#pragma once

#include "access/byte_source.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Mardu::Sentel::Tavlo {

/// What an accessor's packet carries beside the reference to its image: the section's
/// name, and within one process the view's address. The form without a view begins with
/// the name's length, the form with one with a marker of 0; so names are never empty in
/// the first.
struct AccessorPacket
{
    std::uint64_t view = 0; ///< 0 for another process
    std::u16string mapName;
};

/// The most bytes that a packet of a name takes, in either form.
constexpr std::uint64_t AccessorPacketSizeMax(std::size_t nameLength) noexcept
{
    return 16 + 2 * static_cast<std::uint64_t>(nameLength);
}

/// The packet with the view's address, for another apartment of this process.
std::vector<std::uint8_t> InProcessPacket(const AccessorPacket& packet);

/// The packet without it, for another process of this machine.
std::vector<std::uint8_t> LocalPacket(const AccessorPacket& packet);

/// Reads either form. A false name length costs no more memory than the source has bytes.
AccessorPacket ReadAccessorPacket(ByteSource& source);

/// Reads past either form; of the name's length the top bit is ignored.
void SkipAccessorPacket(ByteSource& source);

} // namespace Mardu::Sentel::Tavlo
