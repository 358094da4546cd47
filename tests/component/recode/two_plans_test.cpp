// Plans of two threads at once.
#include "recode/lut_recoder.h"
#include "recode/recode.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

using namespace Mardu::Sentel::Tavlo;

namespace {

/// A conversion with tones of its own.
struct PlannedTask
{
    std::int32_t sourceBits;
    std::int32_t targetBits;
    std::int32_t targetEncoding;
    std::int32_t targetSize;
    double contrast;
    double gamma;
};

constexpr std::array<PlannedTask, 4> plannedTasks = {{{12, 8, Tavlo_Unsigned, 1, 1.0, 1.0},
                                                      {12, 8, Tavlo_Unsigned, 1, 0.4, 2.2},
                                                      {16, 24, Tavlo_RGB, 3, 1.7, 1.0},
                                                      {16, 24, Tavlo_BGR, 3, 0.9, 0.5}}};

constexpr std::int32_t wordCount = 4096;

std::vector<std::uint8_t> Result(const PlannedTask& task)
{
    std::vector<std::uint16_t> words(wordCount);
    for (std::int32_t i = 0; i < wordCount; ++i)
        words[static_cast<std::size_t>(i)] = static_cast<std::uint16_t>(i << (task.sourceBits - 12));
    const TavloDescriptorData source = {wordCount, 1, task.sourceBits, Tavlo_Unsigned, 0, 2, 2 * wordCount};
    const TavloDescriptorData target = {
        wordCount, 1, task.targetBits, task.targetEncoding, 0, task.targetSize, task.targetSize * wordCount};
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(task.targetSize * wordCount));
    LUTRecoder recoder(source, target);
    recoder.SetContrast(task.contrast);
    recoder.SetGamma(task.gamma);
    const auto* src = reinterpret_cast<const std::uint8_t*>(words.data());
    EXPECT_EQ(recoder.Recode(src, pixels.data()), RecodeResult::done);
    return pixels;
}

} // namespace

TEST(TwoPlans, AreMadeAndRunAtOnce)
{
    std::array<std::vector<std::uint8_t>, plannedTasks.size()> expected;
    for (std::size_t i = 0; i < plannedTasks.size(); ++i)
        expected[i] = Result(plannedTasks[i]);
    std::atomic<int> arrivals = 0;
    std::array<int, 2> wrong = {};
    const auto run = [&](std::size_t number) {
        int together = 0;
        for (int round = 0; round < 150; ++round)
            for (std::size_t i = 0; i < plannedTasks.size(); i += 2) {
                together += 2;
                for (++arrivals; arrivals < together;)
                    std::this_thread::yield();
                if (Result(plannedTasks[i + number]) != expected[i + number])
                    ++wrong[number];
            }
    };
    std::thread other([&] { run(1); });
    run(0);
    other.join();
    EXPECT_EQ(wrong, (std::array<int, 2>{}));
}
