#include "client/view/update_follower.h"

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// A stream of updates has come to rest when none came for so long.
constexpr auto rest = 1200ms;

} // namespace

void UpdateFollower::Take(const Updates& updates)
{
    for (const Rectangle& part : updates.dirty)
        display_.RepaintPicture(part);
    display_.ShowPicture();
    for (const Time time : updates.times)
        scene_.updates.Add(time);
    scene_.lastChange = updates.last;
    tone_.ValuesChanged();
    isSettled_ = false;
    lastUpdate_ = Clock::now();
}

bool UpdateFollower::IsTickOverdue() const
{
    return Clock::now() - lastTick_ >= 2 * tick;
}

bool UpdateFollower::OnTick(bool isHistogramShown)
{
    const Time now = Clock::now();
    lastTick_ = now;
    const bool isAtRest = now - lastUpdate_ >= rest;
    if (isAtRest && !isSettled_) {
        // The last rectangle of a stream may not have been told: what is shown now is certain.
        isSettled_ = true;
        tone_.ValuesChanged();
        display_.RepaintPicture();
    }
    tone_.FollowValues(now, isAtRest, isHistogramShown);
    display_.RefreshStatus();
    return !isAtRest || scene_.updates.PerSecond(now) != 0;
}

void UpdateFollower::ProducerClosed()
{
    scene_.producer = Producer::Closed;
    scene_.isFollowing = false;
    display_.RepaintPicture();
    display_.RefreshStatus();
}

} // namespace Mardu::Sentel::Tavlo::Client::View
