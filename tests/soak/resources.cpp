#include "tests/soak/resources.h"

#include "tests/component/handle_count.h"

#include <psapi.h>

#include <algorithm>
#include <cstdio>

void Resources::Sample()
{
    Sampled sampled = {};
    sampled.handles = HandleCount(process_);
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof(memory);
    GetProcessMemoryInfo(process_, &memory, sizeof(memory));
    sampled.bytes = memory.PagefileUsage;
    samples_.push_back(sampled);
}

bool Resources::Report() const
{
    const auto at = [&](double part) {
        return samples_.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(samples_.size()));
    };
    constexpr DWORD moreHandles = 8;
    constexpr std::size_t moreBytes = 1 << 20;
    const auto byHandles = [](const Sampled& a, const Sampled& b) { return a.handles < b.handles; };
    const auto byBytes = [](const Sampled& a, const Sampled& b) { return a.bytes < b.bytes; };
    const DWORD handlesFirst = std::max_element(at(0.1), at(0.5), byHandles)->handles;
    const DWORD handlesLast = std::min_element(at(0.75), samples_.end(), byHandles)->handles;
    const std::size_t bytesFirst = std::max_element(at(0.1), at(0.5), byBytes)->bytes;
    const std::size_t bytesLast = std::min_element(at(0.75), samples_.end(), byBytes)->bytes;
    const bool holds = handlesLast <= handlesFirst + moreHandles && bytesLast <= bytesFirst + moreBytes;
    std::printf("%-12s %8lu %8lu %8lu %12zu %12zu %12zu%s\n", name_.c_str(), samples_.front().handles,
                handlesFirst, handlesLast, samples_.front().bytes >> 10, bytesFirst >> 10, bytesLast >> 10,
                holds ? "" : "  GROWS");
    return holds;
}
