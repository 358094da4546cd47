#include "tests/include/wrapper_test.h"

#include "tests/component/shared/updates/updates_test.h"

#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace {

const tavlo::rect whole{0, 0, 64, 48};
const tavlo::rect block{1, 2, 3, 4};

tavlo::image Shared()
{
    return tavlo::image::create(Grey(64, 48), Tavlo_MultipleWriters);
}

/// Writes down what it is told and on which thread; copies write into the same place.
struct Diary
{
    void operator()(const tavlo::rect& changed) const
    {
        const std::lock_guard lock(pages->mutex);
        pages->changes.push_back(changed);
        pages->threads.push_back(GetCurrentThreadId());
        pages->written.Set();
    }

    struct Pages
    {
        std::mutex mutex;
        std::vector<tavlo::rect> changes;
        std::vector<DWORD> threads;
        Signal written;
    };

    std::vector<tavlo::rect> Changes() const
    {
        const std::lock_guard lock(pages->mutex);
        return pages->changes;
    }

    std::shared_ptr<Pages> pages = std::make_shared<Pages>();
};

/// Sets a signal when it dies.
class Witness
{
public:
    explicit Witness(Signal& gone) : gone_(gone) {}
    ~Witness() { gone_.Set(); }
    Witness(const Witness&) = delete;
    Witness& operator=(const Witness&) = delete;

private:
    Signal& gone_;
};

/// An image that only writes down who subscribes.
class Register final : public ClientObject<ITavlo2>
{
public:
    STDMETHODIMP Subscribe(ITavloEvents* handler, EventMode mode) override
    {
        subscribed.emplace_back(handler, mode);
        return answer;
    }
    STDMETHODIMP Unsubscribe(ITavloEvents* handler) override
    {
        unsubscribed.push_back(handler);
        return S_OK;
    }

    STDMETHODIMP get_Descriptor(ITavloDescriptor2**) override { return E_NOTIMPL; }
    STDMETHODIMP GetReadAccess(RECT*, double, IReadAccessor**) override { return E_NOTIMPL; }
    STDMETHODIMP GetWriteAccess(IWriteAccessor**) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(TavloAccess, ITavlo2**) override { return E_NOTIMPL; }
    STDMETHODIMP Dispose() override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }

    HRESULT answer = S_OK;
    std::vector<std::pair<ITavloEvents*, EventMode>> subscribed;
    std::vector<ITavloEvents*> unsubscribed;
};

} // namespace

TEST(WrapperSubscription, TellsTheImageWhenItComesAndGoes)
{
    const auto image = New<Register>();
    {
        const tavlo::subscription subscription(*image.Get(), Diary(), Tavlo_Asynchronous);
        ASSERT_EQ(1u, image->subscribed.size());
        EXPECT_EQ(Tavlo_Asynchronous, image->subscribed[0].second);
        EXPECT_EQ(2u, image->References());
        ITavloEvents& handler = *image->subscribed[0].first;
        EXPECT_HR(E_POINTER, handler.OnImageUpdate(nullptr, nullptr));
        EXPECT_HR(E_POINTER, handler.QueryInterface(__uuidof(ITavloEvents), nullptr));
        ComPtr<ITavlo2> other;
        EXPECT_HR(E_NOINTERFACE, handler.QueryInterface(__uuidof(ITavlo2), &other));
        EXPECT_TRUE(image->unsubscribed.empty());
    }
    EXPECT_EQ(std::vector{image->subscribed[0].first}, image->unsubscribed);
    EXPECT_EQ(1u, image->References());
}

TEST(WrapperSubscription, IsNoneWhenTheImageRefuses)
{
    const auto image = New<Register>();
    image->answer = E_OUTOFMEMORY;
    EXPECT_THROWS_HR(E_OUTOFMEMORY, tavlo::subscription(*image.Get(), Diary(), Tavlo_Synchronous));
    EXPECT_TRUE(image->unsubscribed.empty());
    EXPECT_EQ(1u, image->References());
}

TEST(WrapperSubscription, IsToldAtOnceOnTheWritersThread)
{
    const auto image = Shared();
    const Diary diary;
    const auto subscription = image.subscribe(diary);
    EXPECT_TRUE(subscription);
    const auto writing = image.write();
    writing.invalidate(block);
    EXPECT_EQ(std::vector{block}, diary.Changes());
    writing.invalidate();
    EXPECT_EQ((std::vector{block, whole}), diary.Changes());
    EXPECT_EQ((std::vector<DWORD>(2, GetCurrentThreadId())), diary.pages->threads);
}

TEST(WrapperSubscription, IsToldLaterOnAnotherThread)
{
    const auto image = Shared();
    const Diary diary;
    const auto subscription = image.subscribe(diary, Tavlo_Asynchronous);
    image.write().invalidate(block);
    ASSERT_TRUE(diary.pages->written.Wait());
    EXPECT_EQ(std::vector{block}, diary.Changes());
    EXPECT_NE(GetCurrentThreadId(), diary.pages->threads[0]);
}

TEST(WrapperSubscription, EndsWithItsObject)
{
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
        const auto image = Shared();
        const Diary diary;
        {
            const auto subscription = image.subscribe(diary, mode);
        }
        image.write().invalidate();
        ASSERT_TRUE(WorkerCatchesUp(ComPtr<ITavlo2>(image.get())));
        EXPECT_TRUE(diary.Changes().empty()) << mode;
    }
}

TEST(WrapperSubscription, MovesAndResets)
{
    const auto image = Shared();
    const Diary first;
    const Diary second;
    auto kept = image.subscribe(first);
    auto other = image.subscribe(second);
    kept = std::move(other);
    EXPECT_FALSE(other);
    image.write().invalidate(block);
    EXPECT_TRUE(first.Changes().empty()) << "assigning ended the first";
    EXPECT_EQ(1u, second.Changes().size());
    kept.reset();
    EXPECT_FALSE(kept);
    kept.reset();
    image.write().invalidate(block);
    EXPECT_EQ(1u, second.Changes().size());
}

TEST(WrapperSubscription, TakesAnythingThatCanBeCalled)
{
    const auto image = Shared();
    int functions = 0;
    int lambdas = 0;
    const std::function<void(tavlo::rect)> function = [&](tavlo::rect) { ++functions; };
    const auto first = image.subscribe(function);
    const auto second = image.subscribe([&lambdas, owned = std::make_unique<int>(2)](const auto&) mutable {
        lambdas += *owned;
        return "ignored";
    });
    image.write().invalidate();
    EXPECT_EQ(1, functions);
    EXPECT_EQ(2, lambdas);
    static_assert(tavlo::update_callable<void (*)(const tavlo::rect&)>);
    static_assert(!tavlo::update_callable<void (*)()>);
    static_assert(!tavlo::update_callable<void (*)(tavlo::rect&)>);
}

TEST(WrapperSubscription, RefusesUnknownModes)
{
    const auto image = Shared();
    Signal gone;
    const int unknown = GetCurrentThreadId() != 0 ? 2 : 0;
    const auto error = ErrorOf([&] {
        const auto none = image.subscribe([witness = std::make_unique<Witness>(gone)](const tavlo::rect&) {},
                                          static_cast<EventMode>(unknown));
    });
    EXPECT_HR(E_INVALIDARG, error.code());
    EXPECT_TRUE(gone.IsSet());
}

TEST(WrapperSubscription, EndsWhenItsCallableThrows)
{
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
        const auto image = Shared();
        std::atomic<int> calls = 0;
        Signal called;
        const auto subscription = image.subscribe(
            [&](const tavlo::rect&) {
                ++calls;
                called.Set();
                throw std::runtime_error("enough");
            },
            mode);
        EXPECT_EQ(nullptr, subscription.failure());
        image.write().invalidate();
        ASSERT_TRUE(called.Wait());
        ASSERT_TRUE(WorkerCatchesUp(ComPtr<ITavlo2>(image.get())));
        image.write().invalidate();
        ASSERT_TRUE(WorkerCatchesUp(ComPtr<ITavlo2>(image.get())));
        EXPECT_EQ(1, calls) << mode;
        ASSERT_NE(nullptr, subscription.failure());
        EXPECT_EQ("enough",
                  TextOf<std::runtime_error>([&] { std::rethrow_exception(subscription.failure()); }));
    }
}

TEST(WrapperSubscription, AFailureDoesNotReachTheWriterOrOthers)
{
    const auto image = Shared();
    const auto failing = image.subscribe([](const tavlo::rect&) { throw 1; });
    const Diary diary;
    const auto other = image.subscribe(diary);
    EXPECT_NO_THROW(image.write().invalidate(block));
    EXPECT_EQ(std::vector{block}, diary.Changes());
}

TEST(WrapperSubscription, WaitsForACallOnAnotherThread)
{
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
        const auto image = Shared();
        Signal entered;
        Signal leave;
        std::atomic<bool> ended = false;
        std::atomic<bool> left = false;
        std::optional<tavlo::subscription> subscription = image.subscribe(
            [&](const tavlo::rect&) {
                entered.Set();
                leave.Wait();
                // Ends late enough for a destructor that does not wait to be caught.
                for (int i = 0; i < 100; ++i)
                    SwitchToThread();
                left = !ended;
            },
            mode);
        auto writer = InApartment(COINIT_MULTITHREADED, [&] { image.write().invalidate(); });
        ASSERT_TRUE(entered.Wait());
        auto destroyer = InApartment(COINIT_MULTITHREADED, [&] {
            leave.Set();
            subscription.reset();
            ended = true;
        });
        destroyer.join();
        EXPECT_TRUE(left) << mode;
        writer.join();
    }
}

TEST(WrapperSubscription, WaitsForEachOfSeveralCalls)
{
    const auto image = Shared();
    constexpr int writers = 4;
    std::atomic<int> inside = 0;
    std::atomic<bool> ended = false;
    Signal firstIn;
    Signal allIn;
    Signal firstLeaves;
    Signal othersLeave;
    std::optional<tavlo::subscription> subscription = image.subscribe([&](const tavlo::rect&) {
        const int order = ++inside;
        if (order == 1)
            firstIn.Set();
        if (order == writers)
            allIn.Set();
        (order == 1 ? firstLeaves : othersLeave).Wait();
    });
    const auto write = [&] { image.write().invalidate(); };
    auto first = InApartment(COINIT_MULTITHREADED, write);
    ASSERT_TRUE(firstIn.Wait());
    std::vector<std::thread> others;
    for (int i = 1; i < writers; ++i)
        others.push_back(InApartment(COINIT_MULTITHREADED, write));
    ASSERT_TRUE(allIn.Wait());
    auto destroyer = InApartment(COINIT_MULTITHREADED, [&] {
        subscription.reset();
        ended = true;
    });
    firstLeaves.Set();
    first.join();
    // One that forgets the others would be through by now.
    for (int i = 0; i < 10000 && !ended; ++i)
        SwitchToThread();
    EXPECT_FALSE(ended);
    othersLeave.Set();
    destroyer.join();
    for (auto& thread : others)
        thread.join();
}

TEST(WrapperSubscription, MayEndInsideItsOwnCall)
{
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
        const auto image = Shared();
        tavlo::subscription subscription;
        std::atomic<int> calls = 0;
        Signal done;
        auto text = std::make_shared<std::string>("still there");
        const std::weak_ptr<std::string> owned = text;
        std::string after;
        subscription = image.subscribe(
            [&, kept = std::move(text)](const tavlo::rect&) {
                ++calls;
                subscription.reset();
                after = owned.expired() ? "gone" : *kept;
                done.Set();
            },
            mode);
        image.write().invalidate();
        ASSERT_TRUE(done.Wait());
        ASSERT_TRUE(WorkerCatchesUp(ComPtr<ITavlo2>(image.get())));
        image.write().invalidate();
        ASSERT_TRUE(WorkerCatchesUp(ComPtr<ITavlo2>(image.get())));
        EXPECT_EQ(1, calls) << mode;
        EXPECT_EQ("still there", after);
        EXPECT_TRUE(Becomes([&] { return owned.expired(); })) << "the image has let go of it";
    }
}

TEST(WrapperSubscription, MayEndInsideACallInsideItsCall)
{
    const auto image = Shared();
    tavlo::subscription subscription;
    int calls = 0;
    subscription = image.subscribe([&](const tavlo::rect& changed) {
        ++calls;
        if (changed == whole)
            image.write().invalidate(block);
        else
            subscription.reset();
    });
    image.write().invalidate();
    EXPECT_EQ(2, calls);
    image.write().invalidate();
    EXPECT_EQ(2, calls);
}

TEST(WrapperSubscription, LetsItsCallableGoAtItsEnd)
{
    for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
        const auto image = Shared();
        Signal gone;
        // The worker is busy and holds the handler beyond the subscription.
        const auto holder = New<Holder>();
        ASSERT_HR(S_OK, image.get()->Subscribe(holder.Get(), Tavlo_Asynchronous));
        image.write().invalidate();
        ASSERT_TRUE(holder->entered.Wait());
        {
            const auto subscription =
                image.subscribe([witness = std::make_unique<Witness>(gone)](const tavlo::rect&) {}, mode);
            EXPECT_FALSE(gone.IsSet());
        }
        EXPECT_TRUE(gone.IsSet()) << mode;
        holder->leave.Set();
        image.get()->Unsubscribe(holder.Get());
    }
}

TEST(WrapperSubscription, IsNotCalledAfterItsEndByAWorkerThatIsLate)
{
    const auto image = Shared();
    const auto holder = New<Holder>();
    ASSERT_HR(S_OK, image.get()->Subscribe(holder.Get(), Tavlo_Asynchronous));
    const Diary diary;
    {
        const auto subscription = image.subscribe(diary, Tavlo_Asynchronous);
        image.write().invalidate();
        ASSERT_TRUE(holder->entered.Wait());
    }
    // The update was on its way to both.
    holder->leave.Set();
    image.get()->Unsubscribe(holder.Get());
    ASSERT_TRUE(WorkerCatchesUp(ComPtr<ITavlo2>(image.get())));
    EXPECT_TRUE(diary.Changes().empty());
}

TEST(WrapperSubscription, KeepsTheImageAndNothingElse)
{
    const Module module;
    auto image = Shared();
    auto writing = image.write();
    const Diary diary;
    auto subscription = image.subscribe(diary);
    image = {};
    writing.invalidate(block);
    EXPECT_EQ(std::vector{block}, diary.Changes());
    writing = {};
    EXPECT_HR(S_FALSE, module.CanUnload());
    subscription.reset();
    EXPECT_TRUE(module.BecomesUnused());
    EXPECT_EQ(1, diary.pages.use_count());
}

TEST(WrapperSubscription, IsCalledInItsSingleThreadedApartment)
{
    const auto image = Shared();
    InApartment(COINIT_APARTMENTTHREADED, [&] {
        const Diary diary;
        auto subscription = image.subscribe(diary, Tavlo_Asynchronous);
        InApartment(COINIT_MULTITHREADED, [&] { image.write().invalidate(block); }).join();
        EXPECT_TRUE(diary.Changes().empty()) << "nobody pumps yet";
        EXPECT_TRUE(BecomesWhilePumping([&] { return diary.pages->written.IsSet(); }));
        EXPECT_EQ(std::vector{block}, diary.Changes());
        EXPECT_EQ(GetCurrentThreadId(), diary.pages->threads[0]);
        subscription.reset();
        EXPECT_EQ(1, diary.pages.use_count());
        // The worker has let go of the one when it has let go of another that came later.
        const auto last = New<Handler>();
        image.get()->Subscribe(last.Get(), Tavlo_Asynchronous);
        image.get()->Unsubscribe(last.Get());
        EXPECT_TRUE(BecomesWhilePumping([&] { return last->References() == 1; }));
    }).join();
}
