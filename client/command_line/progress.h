#pragma once

#include "client/foundation/parts_done.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// A line on a terminal that says how far long work is, as long as the work lasts. Work
/// that is done within half a second shows nothing.
class Progress
{
public:
    using Sink = std::function<void(std::string_view)>;
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// Writes to sink; an empty one makes a line that is never shown.
    explicit Progress(Sink sink, Clock clock = std::chrono::steady_clock::now);
    /// Wipes the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// done of total parts of the task are done; total is at least 1.
    void Report(std::string_view task, std::int64_t done, std::int64_t total);

    /// Reports a task, as long as this object lives.
    PartsDone Of(std::string task);

private:
    Sink sink_;
    Clock clock_;
    std::chrono::steady_clock::time_point start_;
    std::string shown_;
};

} // namespace Mardu::Sentel::Tavlo::Client
