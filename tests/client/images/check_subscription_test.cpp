#include "client/images/update_queue.h"

#include "client/foundation/failure.h"
#include "client/images/shared_image.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

class CheckSubscriptionTest : public testing::Test
{
protected:
    void Change() { Writer(image_, geometry, 1).Invalidate({0, 0, 1, 1}); }

    tavlo::subscription Subscribe(bool isToFail)
    {
        return image_.subscribe(
            [isToFail](const tavlo::rect&) {
                if (isToFail)
                    throw std::runtime_error("no room");
            },
            Tavlo_Synchronous);
    }

private:
    static constexpr Descriptor geometry = {4, 3, 8, Encoding::Unsigned, 0, 1, 4};
    const tavlo::apartment apartment_ = EnterApartment(COINIT_MULTITHREADED);
    const tavlo::image image_ = Create(geometry, Tavlo_MultipleWriters);
};

TEST_F(CheckSubscriptionTest, IsContentWithOneThatGoesOn)
{
    const tavlo::subscription subscription = Subscribe(false);
    Change();
    EXPECT_NO_THROW(CheckSubscription(subscription, "watch"));
}

TEST_F(CheckSubscriptionTest, TellsWhyOneHasEnded)
{
    const tavlo::subscription subscription = Subscribe(true);
    EXPECT_NO_THROW(CheckSubscription(subscription, "watch"));
    Change();
    try {
        CheckSubscription(subscription, "watch 'scan' any longer");
        FAIL() << "it has not ended";
    } catch (const Failure& failure) {
        const std::string text = failure.what();
        EXPECT_TRUE(text.starts_with("cannot watch 'scan' any longer: ")) << text;
        EXPECT_TRUE(text.ends_with("the subscription has ended: no room")) << text;
    }
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
