#include "tests/component/shared/updates/updates_test.h"

#include <stdexcept>
#include <string>

using Rects = std::vector<RECT>;

TEST(SynchronousUpdates, ArriveBeforeInvalidateReturnsOnItsThread)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    EXPECT_EQ(handler->Received(), (Rects{{1, 2, 3, 4}}));
    EXPECT_EQ(handler->Threads(), std::vector<DWORD>{GetCurrentThreadId()});
}

TEST(SynchronousUpdates, NameTheWholeImageWhenNoRectangleIsGiven)
{
    const auto image = SharedImage(640, 480);
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(handler->Received(), (Rects{{0, 0, 640, 480}}));
}

TEST(SynchronousUpdates, NeverCarryTheImage)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_FALSE(handler->SawImage());
}

TEST(SynchronousUpdates, CarryAnyRectangleAsItIs)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    const Rects rects = {
        {-5, 900, 3, -2}, {0, 0, 0, 0}, {7, 7, 7, 9}, {LONG_MIN, LONG_MAX, LONG_MAX, LONG_MIN}};
    for (const RECT& rect : rects)
        EXPECT_HR(S_OK, Invalidate(image, rect));
    EXPECT_EQ(handler->Received(), rects);
}

TEST(SynchronousUpdates, ComeFromTheImagesInternalInterfaceToo)
{
    const auto image = SharedImage(640, 480);
    ComPtr<ITavloInternal> internal;
    ASSERT_HR(S_OK, image.As(&internal));
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    RECT dirty = {1, 2, 3, 4};
    EXPECT_HR(S_OK, internal->Invalidate(&dirty));
    EXPECT_HR(S_OK, internal->Invalidate(nullptr));
    EXPECT_EQ(handler->Received(), (Rects{{1, 2, 3, 4}, {0, 0, 640, 480}}));
}

TEST(SynchronousUpdates, ComeInTheOrderOfSubscription)
{
    const auto image = SharedImage();
    std::string order;
    const auto note = [&](char name) {
        return New<Handler>([&order, name](const RECT&) {
            order += name;
            return S_OK;
        });
    };
    const auto a = note('a');
    const auto b = note('b');
    const auto c = note('c');
    for (const auto& handler : {c, a, b, a})
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(order, "caba");
    EXPECT_HR(S_OK, image->Unsubscribe(a.Get()));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(order, "cabacba") << "the first of two subscriptions ends";
}

TEST(SynchronousUpdates, ComeWhenTheWorkerHasBeenTold)
{
    const auto image = SharedImage();
    const auto asynchronous = New<Handler>();
    bool wasTold = false;
    const auto synchronous = New<Handler>([&](const RECT&) {
        wasTold = asynchronous->Receives(1);
        return S_OK;
    });
    ASSERT_HR(S_OK, image->Subscribe(asynchronous.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(synchronous.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    EXPECT_TRUE(wasTold) << "the update is posted before anybody is called";
}

TEST(SynchronousUpdates, ComeTwiceToAHandlerSubscribedTwice)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(handler->Received().size(), 2u);
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(handler->Received().size(), 3u);
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(handler->Received().size(), 3u);
}

TEST(SynchronousUpdates, GoToTheSubscribersOfBothImageInterfaces)
{
    const auto image = SharedImage();
    ComPtr<ITavlo> first;
    ASSERT_HR(S_OK, image.As(&first));
    const auto a = New<Handler>();
    const auto b = New<Handler>();
    ASSERT_HR(S_OK, first->Subscribe(a.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, image->Subscribe(b.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_HR(S_OK, image->Unsubscribe(a.Get()));
    EXPECT_HR(S_OK, first->Unsubscribe(b.Get()));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(a->Received().size(), 1u);
    EXPECT_EQ(b->Received().size(), 1u);
}

TEST(SynchronousUpdates, GiveEveryHandlerARectangleOfItsOwn)
{
    struct Vandal final : Handler
    {
        STDMETHODIMP OnImageUpdate(ITavlo*, RECT* dirty) override
        {
            *dirty = {9, 9, 9, 9};
            return S_OK;
        }
    };
    const auto image = SharedImage();
    const auto vandal = New<Vandal>();
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(vandal.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    RECT dirty = {1, 2, 3, 4};
    EXPECT_HR(S_OK, Invalidate(image.Get(), &dirty));
    EXPECT_EQ(handler->Received(), (Rects{{1, 2, 3, 4}}));
    EXPECT_EQ(dirty, (RECT{1, 2, 3, 4})) << "nor does the writer see it";
}

TEST(SynchronousUpdates, FindThePropertiesGone)
{
    const auto image = SharedImage();
    ComPtr<ITavloInternal> internal;
    ASSERT_HR(S_OK, image.As(&internal));
    VARIANT value;
    VariantInit(&value);
    HRESULT found = S_OK;
    const auto handler = New<Handler>([&](const RECT&) {
        VARIANT mean;
        found = internal->GetProperty(Text(L"mean").get(), &mean);
        return S_OK;
    });
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, internal->SetProperty(Text(L"mean").get(), value));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_HR(E_INVALIDARG, found);
}

TEST(SynchronousUpdates, EndForAHandlerThatFails)
{
    const auto image = SharedImage();
    const auto before = New<Handler>();
    const auto failing = New<Handler>([](const RECT&) { return E_FAIL; });
    const auto after = New<Handler>();
    for (const auto& handler : {before, failing, after})
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    for (int i = 0; i < 3; ++i)
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(before->Received().size(), 3u);
    EXPECT_EQ(failing->Received().size(), 1u);
    EXPECT_EQ(after->Received().size(), 3u);
    EXPECT_EQ(failing->References(), 1u);
}

TEST(SynchronousUpdates, EndForAHandlerThatThrows)
{
    const auto image = SharedImage();
    const auto throwing =
        New<Handler>([](const RECT&) -> HRESULT { throw std::runtime_error("thrown on purpose"); });
    const auto throwingOther = New<Handler>([](const RECT&) -> HRESULT { throw 17; });
    const auto after = New<Handler>();
    for (const auto& handler : {throwing, throwingOther, after})
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    for (int i = 0; i < 3; ++i)
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(throwing->Received().size(), 1u);
    EXPECT_EQ(throwingOther->Received().size(), 1u);
    EXPECT_EQ(after->Received().size(), 3u);
    EXPECT_EQ(throwing->References(), 1u);
}

TEST(SynchronousUpdates, GoOnForAHandlerThatSucceedsInAnyWay)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>([](const RECT&) { return S_FALSE; });
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    for (int i = 0; i < 3; ++i)
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(handler->Received().size(), 3u);
}

TEST(SynchronousUpdates, EndOncePerFailureForAHandlerSubscribedTwice)
{
    const auto image = SharedImage();
    int calls = 0;
    const auto handler = New<Handler>([&](const RECT&) { return ++calls == 1 ? E_FAIL : S_OK; });
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(calls, 2);
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(calls, 3);
}

TEST(SynchronousUpdates, SeeChangesOfTheListFromTheNextUpdateOn)
{
    const auto image = SharedImage();
    const auto joining = New<Handler>();
    const auto leaving = New<Handler>();
    ComPtr<Handler> self;
    int calls = 0;
    self = New<Handler>([&](const RECT&) {
        if (++calls > 1)
            return S_OK;
        EXPECT_HR(S_OK, image->Subscribe(joining.Get(), Tavlo_Synchronous));
        EXPECT_HR(S_OK, image->Unsubscribe(leaving.Get()));
        EXPECT_HR(S_OK, image->Unsubscribe(self.Get()));
        return S_OK;
    });
    ASSERT_HR(S_OK, image->Subscribe(self.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, image->Subscribe(leaving.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(leaving->Received().size(), 1u);
    EXPECT_EQ(joining->Received().size(), 0u);
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(leaving->Received().size(), 1u);
    EXPECT_EQ(joining->Received().size(), 1u);
}

TEST(SynchronousUpdates, ComeAgainToAHandlerThatSubscribesAgain)
{
    const auto image = SharedImage();
    ComPtr<Handler> handler;
    handler = New<Handler>([&](const RECT&) {
        image->Unsubscribe(handler.Get());
        return E_FAIL;
    });
    for (int i = 0; i < 3; ++i) {
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    }
    EXPECT_EQ(handler->Received().size(), 3u);
}

TEST(SynchronousUpdates, MayCauseFurtherOnes)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>([&](const RECT& dirty) {
        return dirty.left < 3 ? Invalidate(image, {dirty.left + 1, 0, 9, 9}) : S_OK;
    });
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image, {0, 0, 9, 9}));
    EXPECT_EQ(handler->Received(), (Rects{{0, 0, 9, 9}, {1, 0, 9, 9}, {2, 0, 9, 9}, {3, 0, 9, 9}}));
}

TEST(SynchronousUpdates, LockNothingWhileAHandlerRuns)
{
    const auto image = SharedImage();
    const auto held = New<Holder>();
    const auto other = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(held.Get(), Tavlo_Synchronous));
    auto writer =
        InApartment(COINIT_MULTITHREADED, [&] { EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr)); });
    ASSERT_TRUE(held->entered.Wait());
    EXPECT_HR(S_OK, image->Unsubscribe(held.Get()));
    EXPECT_HR(S_OK, image->Subscribe(other.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(other->Received().size(), 1u);
    held->leave.Set();
    writer.join();
    EXPECT_EQ(held->Received().size(), 1u);
}

TEST(SynchronousUpdates, MayReleaseTheImage)
{
    const Module module;
    ASSERT_TRUE(module.BecomesUnused());
    auto image = SharedImage();
    const auto handler = New<Handler>([&](const RECT&) {
        image.Reset();
        return S_OK;
    });
    const auto after = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, image->Subscribe(after.Get(), Tavlo_Synchronous));
    ComPtr<ITavloInternal> internal;
    ASSERT_HR(S_OK, image.As(&internal));
    ITavloInternal* last = internal.Get();
    internal.Reset();
    EXPECT_HR(S_OK, last->Invalidate(nullptr));
    EXPECT_EQ(after->Received().size(), 1u);
    EXPECT_EQ(handler->References(), 1u);
    EXPECT_EQ(after->References(), 1u);
    EXPECT_HR(S_OK, module.CanUnload());
}

TEST(SynchronousUpdates, MayReleaseTheWriterAndTheImage)
{
    const Module module;
    ASSERT_TRUE(module.BecomesUnused());
    auto image = SharedImage();
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    const auto handler = New<Handler>([&](const RECT&) {
        image.Reset();
        writer.Reset();
        return S_OK;
    });
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, writer.Get()->Invalidate(nullptr));
    EXPECT_EQ(handler->References(), 1u);
    EXPECT_HR(S_OK, module.CanUnload());
}

TEST(SynchronousUpdates, HoldOneReferencePerSubscription)
{
    auto image = SharedImage();
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_EQ(handler->References(), 2u);
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_EQ(handler->References(), 3u);
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(handler->References(), 3u);
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_EQ(handler->References(), 2u);
    image.Reset();
    EXPECT_EQ(handler->References(), 1u);
}

TEST(Subscribe, RefusesUnknownModes)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    for (const int mode : {2, 3, -1, INT_MAX})
        EXPECT_HR(E_INVALIDARG, image->Subscribe(handler.Get(), static_cast<EventMode>(mode)));
    EXPECT_EQ(handler->References(), 1u);
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(handler->Received().size(), 0u);
}

TEST(Subscribe, RefusesNull)
{
    const auto image = SharedImage();
    EXPECT_HR(E_POINTER, image->Subscribe(nullptr, Tavlo_Synchronous));
    EXPECT_HR(E_POINTER, image->Subscribe(nullptr, Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
}

TEST(Subscribe, IsSynchronousForAScriptThatNamesNoMode)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    VARIANTARG argument;
    VariantInit(&argument);
    argument.vt = VT_UNKNOWN;
    argument.punkVal = handler.Get();
    DISPPARAMS parameters = {&argument, nullptr, 1, 0};
    ASSERT_HR(S_OK, image->Invoke(0x60020004, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                                  nullptr, nullptr, nullptr));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_EQ(handler->Threads(), std::vector<DWORD>{GetCurrentThreadId()});
}

TEST(Unsubscribe, SucceedsForAHandlerThatNeverSubscribed)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_HR(S_OK, image->Unsubscribe(nullptr));
    const auto other = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(other.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get())) << "nor with a worker";
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_TRUE(other->Receives(1));
    EXPECT_EQ(handler->References(), 1u);
}
