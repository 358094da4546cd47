#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Bench {

/// One way to do a contest's work, from the same source into the same target as all others.
struct Contender
{
    std::string name;
    std::function<void()> run;
};

/// The same work done by several contenders: ours is the first.
struct Contest
{
    std::string work;
    std::string size;
    double pixels = 0;
    /// How many times as fast as the fastest of `against` ours is meant to be; 0 for no goal.
    double goal = 0;
    std::vector<std::string> against;
    std::vector<Contender> contenders;
    /// Called after one run of every contender; tells which of them gave what ours gave.
    std::function<bool(const std::string& contender)> sameResult;
};

struct Standing
{
    std::string name;
    double seconds = 0; ///< the median of a run
    double lowest = 0;  ///< the lower and the upper quartile
    double highest = 0;
    double ratio = 0; ///< its time as a multiple of ours, the median over the rounds
    bool sameResult = false;
};

struct Outcome
{
    Contest contest;
    std::size_t rounds = 0;
    std::vector<Standing> standings;
    double ratio = 0; ///< against the fastest of those that the goal names
    bool met = true;
};

/// Runs all contenders once a round, the first one another and the direction changed each
/// round, so that nobody always runs after the same one. Time is the processor time of this
/// thread: other programs' turns do not count. Ratios are taken within a round, so that what
/// slows a round down slows both sides.
Outcome Measure(Contest contest);

} // namespace Bench
