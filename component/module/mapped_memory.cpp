#include "module/mapped_memory.h"

namespace Mardu {

std::uint64_t MappedBytes(const void* address) noexcept
{
    const auto* const begin = static_cast<const std::uint8_t*>(address);
    const std::uint8_t* end = begin;
    const void* piece = nullptr;
    MEMORY_BASIC_INFORMATION region = {};
    while (end != nullptr && VirtualQuery(end, &region, sizeof(region)) != 0 && region.State == MEM_COMMIT &&
           (piece == nullptr || region.AllocationBase == piece)) {
        piece = region.AllocationBase;
        end = static_cast<const std::uint8_t*>(region.BaseAddress) + region.RegionSize;
    }
    return static_cast<std::uint64_t>(end - begin);
}

} // namespace Mardu
