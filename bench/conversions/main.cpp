#include "conversions/json.h"
#include "conversions/rows.h"

#include "recode/kernels/simd_level.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

// conversions_bench [--size WxH]... [--filter REGEX] [--json FILE] [--no-curve]
//
// Times every conversion against its peers and writes what it found as JSON; tools/bench
// makes a table and a plot of it. Progress goes to the standard error.
namespace Bench {
namespace {

using namespace Mardu::Sentel::Tavlo;

struct Options
{
    std::vector<Extent> sizes;
    std::string filter = ".";
    std::string json;
    bool curve = true;
};

Extent ParseExtent(const std::string& text)
{
    Extent extent;
    char end = 0;
    if (std::sscanf(text.c_str(), "%dx%d%c", &extent.width, &extent.height, &end) != 2 || extent.width < 1 ||
        extent.height < 1)
        throw std::invalid_argument("not a size: " + text);
    return extent;
}

Options Parse(int count, char** arguments)
{
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string option = arguments[i];
        const auto value = [&] {
            if (++i == count)
                throw std::invalid_argument(option + " needs a value");
            return std::string(arguments[i]);
        };
        if (option == "--size")
            options.sizes.push_back(ParseExtent(value()));
        else if (option == "--filter")
            options.filter = value();
        else if (option == "--json")
            options.json = value();
        else if (option == "--no-curve")
            options.curve = false;
        else
            throw std::invalid_argument("unknown option " + option);
    }
    if (options.sizes.empty())
        options.sizes = {{1920, 1080}, {4096, 4096}};
    return options;
}

std::vector<Row> AllRows()
{
    std::vector<Row> all;
    for (const auto& rows : {TableRows(), FillingRows(), ComputedRows(), ColorRows(), CopyRows()})
        all.insert(all.end(), rows.begin(), rows.end());
    return all;
}

/// The rows whose rate is followed from images that fit into the nearest cache to such that
/// fit into none.
const std::vector<std::string> curveWorks = {"8 to 8, contrast", "16 to 8, high byte", "16 to 8, contrast",
                                             "float to 8",       "RGB to grey",        "RGB to BGRA",
                                             "8 to RGBA, ramp",  "copy part, 8",       "transposed 8"};
constexpr Extent curveSizes[] = {{64, 64}, {512, 512}, {2048, 2048}, {8192, 8192}};

/// Ours again with the instructions of smaller processors, for the goals there.
void AddLowerLevels(Contest& contest)
{
    const SimdLevel best = ActiveSimdLevel();
    for (const SimdLevel level : simdLevels)
        if (level != SimdLevel::plain && level < best)
            contest.contenders.push_back(
                {std::string("at ") + NameOf(level), [level, best, run = contest.contenders.front().run] {
                     ForceSimdLevel(level);
                     run();
                     ForceSimdLevel(best);
                 }});
}

class Runner
{
public:
    explicit Runner(const std::string& filter) : filter_(filter, std::regex::icase) {}

    bool Wants(const Row& row) const { return std::regex_search(row.work, filter_); }

    /// `reduce`: only ours and memcpy.
    void Run(const Row& row, Memory& memory, bool reduce, std::vector<Outcome>& outcomes)
    {
        Contest contest = row.make(memory);
        contest.work = row.work;
        if (reduce) {
            std::erase_if(contest.contenders,
                          [](const Contender& c) { return c.name != "ours" && c.name != "memcpy"; });
            contest.goal = 0;
        }
        AddLowerLevels(contest);
        std::fprintf(stderr, "%s, %s\n", row.work.c_str(), contest.size.c_str());
        const bool checked = contest.sameResult != nullptr;
        outcomes.push_back(Measure(std::move(contest)));
        for (const Standing& standing : outcomes.back().standings)
            if (checked && !standing.sameResult &&
                (standing.name == "plain" || standing.name.starts_with("at ")))
                throw std::runtime_error(row.work + ": another result than of " + standing.name);
    }

private:
    std::regex filter_;
};

/// The variable TAVLO_SIMD names the instructions that ours uses; the best ones without it.
void ForceNamedLevel()
{
    const char* const wanted = std::getenv("TAVLO_SIMD");
    if (wanted == nullptr)
        return;
    const auto* const level =
        std::find_if(std::begin(simdLevels), std::end(simdLevels),
                     [wanted](SimdLevel l) { return wanted == std::string(NameOf(l)); });
    if (level == std::end(simdLevels) || *level > BestSimdLevel())
        throw std::invalid_argument(std::string("TAVLO_SIMD: there is no ") + wanted);
    ForceSimdLevel(*level);
}

void Main(const Options& options)
{
    ForceNamedLevel();
    // Nothing of ours starts threads, so nobody else does.
    cv::setNumThreads(1);
    Runner runner(options.filter);
    const std::vector<Row> rows = AllRows();
    std::vector<Outcome> table, curve;
    for (const Extent& size : options.sizes) {
        Memory memory(size);
        const bool first = &size == &options.sizes.front();
        for (const Row& row : rows)
            if (runner.Wants(row) && (row.anySize || first))
                runner.Run(row, memory, false, table);
    }
    for (const Extent& size : curveSizes) {
        if (!options.curve)
            break;
        Memory memory(size);
        for (const Row& row : rows)
            if (runner.Wants(row) &&
                std::find(curveWorks.begin(), curveWorks.end(), row.work) != curveWorks.end())
                runner.Run(row, memory, true, curve);
    }

    const std::string json = ToJson(table, curve);
    if (options.json.empty())
        std::fputs(json.c_str(), stdout);
    else if (!(std::ofstream(options.json) << json).flush())
        throw std::runtime_error("cannot write " + options.json);
}

} // namespace
} // namespace Bench

int main(int count, char** arguments)
{
    try {
        Bench::Main(Bench::Parse(count, arguments));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "conversions_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
