#include "conversions/contest_builder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace Bench {
namespace {

using Mardu::Sentel::Tavlo::LayoutOf;
using Mardu::Sentel::Tavlo::RawDataSize;

std::size_t BytesOf(const TavloDescriptorData& descriptor)
{
    return static_cast<std::size_t>(RawDataSize(LayoutOf(descriptor)));
}

/// What a result is not, so that bytes that nobody writes are seen.
constexpr int unwritten = 0xA5;

} // namespace

void Check(RecodeResult result)
{
    if (result != RecodeResult::done)
        std::abort();
}

ContestBuilder::ContestBuilder(Memory& memory, const TavloDescriptorData& source,
                               const TavloDescriptorData& target, Picture picture)
    : from(source),
      to(target),
      memory_(memory),
      sourceBytes_(BytesOf(from)),
      targetBytes_(BytesOf(to)),
      source_(
          memory.Source(picture, sourceBytes_ / SampleSize(picture), std::max(sourceBytes_, targetBytes_))),
      target_(memory.Target(std::max(sourceBytes_, targetBytes_)))
{
    contest_.size = memory.Size().Text();
    contest_.pixels = static_cast<double>(memory.Size().Pixels());
    std::memset(target_, unwritten, targetBytes_);
}

void ContestBuilder::Goal(double goal, std::vector<std::string> against)
{
    contest_.goal = goal;
    contest_.against = std::move(against);
}

LUTRecoder& ContestBuilder::Ours(const ToneParameters& tone)
{
    const auto recoder = std::make_shared<LUTRecoder>(from, to);
    recoder->SetContrast(tone.contrast);
    recoder->SetBrightness(tone.brightness);
    recoder->SetGamma(tone.gamma);
    recoder->SetSigma(tone.sigma);
    Ours([recoder, s = source_, t = target_] { Check(recoder->Recode(s, t)); });
    return *recoder;
}

void ContestBuilder::Ours(std::function<void()> run)
{
    contest_.contenders.insert(contest_.contenders.begin(), Contender{"ours", std::move(run)});
}

void ContestBuilder::Add(const char* name, std::function<void()> run)
{
    contest_.contenders.push_back({name, std::move(run)});
}

Contest ContestBuilder::Done()
{
    const bool hasCopy = std::any_of(contest_.contenders.begin(), contest_.contenders.end(),
                                     [](const Contender& c) { return c.name == "memcpy"; });
    if (!hasCopy)
        Add("memcpy", [s = source_, t = target_, moved = (sourceBytes_ + targetBytes_) / 2] {
            std::memcpy(t, s, moved);
        });
    std::uint8_t* const kept = memory_.Kept(targetBytes_);
    contest_.sameResult = [kept, t = target_, size = targetBytes_](const std::string& contender) {
        if (contender == "ours")
            std::memcpy(kept, t, size);
        const bool same = std::memcmp(kept, t, size) == 0;
        std::memset(t, unwritten, size);
        return same;
    };
    return std::move(contest_);
}

} // namespace Bench
