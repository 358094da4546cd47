#include "conversions/contest.h"

#include <ctime>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

namespace Bench {
namespace {

constexpr std::size_t fewestRounds = 15;
constexpr std::size_t mostRounds = 41;
/// Short work is repeated until a run takes this long, and rounds go on until all of them
/// together took that long.
constexpr double shortestRun = 2e-4;
constexpr double longEnough = 0.5;

double ThreadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// After a run that does not count, so that nobody finds the caches as somebody else left them.
double SecondsOf(const Contender& contender, std::size_t times)
{
    contender.run();
    const double start = ThreadSeconds();
    for (std::size_t i = 0; i < times; ++i)
        contender.run();
    return (ThreadSeconds() - start) / static_cast<double>(times);
}

/// The value below which this part of all values lies.
double Quantile(std::vector<double> values, double part)
{
    const auto at = static_cast<std::size_t>(part * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(at), values.end());
    return values[at];
}

/// One contender's runs.
struct Runs
{
    std::size_t times = 1;
    std::vector<double> seconds;
};

std::size_t TimesFor(const Contender& contender)
{
    const double once = SecondsOf(contender, 1);
    return once >= shortestRun ? 1 : static_cast<std::size_t>(std::ceil(shortestRun / std::max(once, 1e-9)));
}

Standing StandingOf(const Contender& contender, const Runs& runs, const Runs& ours)
{
    std::vector<double> ratios;
    for (std::size_t round = 0; round < runs.seconds.size(); ++round)
        ratios.push_back(runs.seconds[round] / ours.seconds[round]);
    return {contender.name,
            Quantile(runs.seconds, 0.5),
            Quantile(runs.seconds, 0.25),
            Quantile(runs.seconds, 0.75),
            Quantile(ratios, 0.5),
            false};
}

/// Two digits are what a table shows, and what a goal is held against.
double Rounded(double ratio)
{
    return std::round(ratio * 100.0) / 100.0;
}

} // namespace

Outcome Measure(Contest contest)
{
    const std::vector<Contender>& contenders = contest.contenders;
    std::vector<Runs> runs(contenders.size());
    std::vector<bool> same(contenders.size());
    for (std::size_t i = 0; i < contenders.size(); ++i) {
        runs[i].times = TimesFor(contenders[i]);
        same[i] = contest.sameResult && contest.sameResult(contenders[i].name);
    }

    std::vector<std::size_t> order(contenders.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::minstd_rand random;
    std::size_t round = 0;
    double spent = 0;
    for (; round < fewestRounds || (round < mostRounds && spent < longEnough); ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t which : order) {
            const double seconds = SecondsOf(contenders[which], runs[which].times);
            spent += seconds * static_cast<double>(runs[which].times);
            runs[which].seconds.push_back(seconds);
        }
    }

    Outcome outcome;
    outcome.rounds = round;
    for (std::size_t i = 0; i < contenders.size(); ++i) {
        outcome.standings.push_back(StandingOf(contenders[i], runs[i], runs.front()));
        outcome.standings.back().sameResult = same[i];
        const bool counts = std::find(contest.against.begin(), contest.against.end(), contenders[i].name) !=
                            contest.against.end();
        if (counts && (outcome.ratio == 0 || outcome.standings.back().ratio < outcome.ratio))
            outcome.ratio = outcome.standings.back().ratio;
    }
    outcome.met = contest.goal == 0 || Rounded(outcome.ratio) >= contest.goal;
    outcome.contest = std::move(contest);
    return outcome;
}

} // namespace Bench
