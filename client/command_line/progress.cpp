#include "client/command_line/progress.h"

#include <exception>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr std::chrono::milliseconds patience{500};

} // namespace

Progress::Progress(Sink sink, Clock clock)
    : sink_(std::move(sink)), clock_(std::move(clock)), start_(clock_())
{
}

Progress::~Progress()
{
    try {
        if (!shown_.empty())
            sink_('\r' + std::string(shown_.size(), ' ') + '\r');
    } catch (const std::exception&) {
        // A line that stays is no reason to fail.
    }
}

void Progress::Report(std::string_view task, std::int64_t done, std::int64_t total)
{
    if (!sink_ || clock_() - start_ < patience)
        return;
    std::string line = std::string(task) + ' ' + std::to_string(done * 100 / total) + " %";
    if (line == shown_)
        return;
    const std::size_t rest = shown_.size() > line.size() ? shown_.size() - line.size() : 0;
    sink_('\r' + line + std::string(rest, ' '));
    shown_ = std::move(line);
}

PartsDone Progress::Of(std::string task)
{
    return
        [this, task = std::move(task)](std::int64_t done, std::int64_t total) { Report(task, done, total); };
}

} // namespace Mardu::Sentel::Tavlo::Client
