#include "tests/component/handle_count.h"
#include "tests/component/shared/updates/updates_test.h"

TEST(ImageLifetime, DoesNotWaitForARunningHandler)
{
    const Module module;
    ASSERT_TRUE(module.BecomesUnused());
    auto image = SharedImage();
    Signal gone;
    auto held = New<Holder>(&gone);
    Signal& leave = held->leave;
    const auto synchronous = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(held.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(synchronous.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(held->entered.Wait());
    image.Reset();
    EXPECT_EQ(synchronous->References(), 1u) << "the image is gone";
    EXPECT_HR(S_FALSE, module.CanUnload()) << "the worker is not";
    held.Reset();
    EXPECT_FALSE(gone.IsSet()) << "the worker holds its handlers";
    leave.Set();
    EXPECT_TRUE(gone.Wait());
    EXPECT_TRUE(module.BecomesUnused());
}

TEST(ImageLifetime, EndsAfterAllThatWasQueued)
{
    auto image = SharedImage();
    const auto held = New<Holder>();
    const auto leaving = New<Handler>();
    const auto joining = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(held.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(leaving.Get(), Tavlo_Asynchronous));
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_HR(S_OK, Invalidate(image, {1, 1, 2, 2}));
    ASSERT_TRUE(held->entered.Wait());
    EXPECT_HR(S_OK, image->Unsubscribe(leaving.Get()));
    ASSERT_HR(S_OK, image->Subscribe(joining.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image, {3, 3, 4, 4}));
    EXPECT_HR(S_OK, Invalidate(image, {5, 5, 6, 6}));
    image.Reset();
    held->leave.Set();
    ASSERT_TRUE(joining->Receives(1));
    EXPECT_EQ(joining->Received(), (std::vector<RECT>{{3, 3, 6, 6}}));
    EXPECT_TRUE(Becomes([&] { return joining->References() == 1 && held->References() == 1; }));
    EXPECT_EQ(held->Received().size(), 2u);
    EXPECT_EQ(leaving->Received().size(), 1u);
    EXPECT_EQ(leaving->References(), 1u);
}

TEST(ImageLifetime, EndsWithTheLastReferenceThoughItsWorkerIsIdle)
{
    const Module module;
    auto image = SharedImage();
    Signal gone;
    auto handler = New<Handler>(Handler::Reaction(), &gone);
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    handler.Reset();
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_HR(S_FALSE, module.CanUnload());
    image.Reset();
    EXPECT_TRUE(gone.Wait());
    EXPECT_TRUE(module.BecomesUnused());
}

TEST(ImageLifetime, MayEndInAnAsynchronousHandler)
{
    const Module module;
    ASSERT_TRUE(module.BecomesUnused());
    auto image = SharedImage();
    const auto held = New<Holder>();
    Signal gone;
    auto releasing = New<Handler>(
        [&](const RECT&) {
            image.Reset();
            return S_OK;
        },
        &gone);
    const auto after = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(held.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(releasing.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(after.Get(), Tavlo_Asynchronous));
    releasing.Reset();
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(held->entered.Wait());
    // Nobody else holds the image now.
    held->leave.Set();
    EXPECT_TRUE(after->Receives(1));
    EXPECT_TRUE(gone.Wait());
    EXPECT_TRUE(Becomes([&] { return after->References() == 1 && held->References() == 1; }));
    EXPECT_TRUE(module.BecomesUnused());
}

TEST(ImageLifetime, LeavesNoHandles)
{
    const Module module;
    const auto cycle = [&] {
        auto image = SharedImage();
        Signal gone;
        auto handler = New<Handler>(Handler::Reaction(), &gone);
        EXPECT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        EXPECT_TRUE(handler->Receives(1));
        handler.Reset();
        image.Reset();
        EXPECT_TRUE(gone.Wait());
        EXPECT_TRUE(module.BecomesUnused());
    };
    cycle();
    const DWORD before = HandleCount();
    for (int i = 0; i < 50; ++i)
        cycle();
    // The system tidies up after a thread once it has left the component.
    EXPECT_TRUE(Becomes([&] { return HandleCount() <= before + 5; })) << HandleCount() << " after " << before;
}

TEST(ModuleLifetime, LastsAsLongAsAWorker)
{
    const Module module;
    ASSERT_TRUE(module.BecomesUnused());
    auto image = SharedImage();
    const auto held = New<Holder>();
    ASSERT_HR(S_OK, image->Subscribe(held.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(held->entered.Wait());
    image.Reset();
    for (int i = 0; i < 10; ++i) {
        CoFreeUnusedLibrariesEx(0, 0);
        EXPECT_HR(S_FALSE, module.CanUnload());
    }
    held->leave.Set();
    EXPECT_TRUE(module.BecomesUnused());
    EXPECT_EQ(held->References(), 1u);
}
