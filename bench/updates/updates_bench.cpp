// What an update costs, as ratios of one run: a synchronous one against a plain virtual
// call and an uncontended critical section, asynchronous ones against a bare queue of the
// same primitives.
#include "TavloLib.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <deque>
#include <thread>
#include <vector>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

constexpr int runs = 9;

/// Counts updates. Lives as long as the program.
class Counter final : public ITavloEvents
{
public:
    STDMETHODIMP OnImageUpdate(ITavlo*, RECT* dirty) override
    {
        last_.store(dirty->right, std::memory_order_release);
        updates_.store(updates_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
        return S_OK;
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ITavloEvents);
        *result = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    long Updates() const { return updates_.load(std::memory_order_acquire); }
    LONG Last() const { return last_.load(std::memory_order_acquire); }

private:
    std::atomic<long> updates_ = 0;
    std::atomic<LONG> last_ = 0;
};

double Seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// The median of repeated measurements.
template <class Measurement>
double Median(Measurement measure)
{
    std::vector<double> results;
    for (int i = 0; i < runs; ++i)
        results.push_back(measure());
    std::nth_element(results.begin(), results.begin() + runs / 2, results.end());
    return results[runs / 2];
}

/// Nanoseconds of one call.
template <class Call>
double Nanoseconds(int calls, Call call)
{
    return Median([&] {
        const double start = Seconds();
        for (int i = 0; i < calls; ++i)
            call();
        return (Seconds() - start) / calls * 1e9;
    });
}

ComPtr<IWriteAccessor> WriterOfNewImage(ComPtr<ITavlo2>& image)
{
    ComPtr<ITavloDescriptor2> descriptor;
    ComPtr<ITavloFactory2> factory;
    CoCreateInstance(CLSID_TavloDescriptor2, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&descriptor));
    CoCreateInstance(CLSID_TavloFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory));
    ComPtr<IWriteAccessor> writer;
    if (descriptor == nullptr || factory == nullptr)
        return writer;
    descriptor->put_Encoding(Tavlo_Unsigned);
    descriptor->put_Width(640);
    descriptor->put_Height(480);
    if (SUCCEEDED(factory->Create(descriptor.Get(), Tavlo_SingleWriter, &image)))
        image->GetWriteAccess(&writer);
    return writer;
}

/// Invalidates one after the other, each once the one before has arrived: how long a
/// rectangle takes from the writer to the handler and back.
double UpdatesPerSecond(IWriteAccessor* writer, const Counter& counter, long updates)
{
    return Median([&] {
        RECT dirty = {0, 0, 10, 10};
        const double start = Seconds();
        for (long i = 0; i < updates; ++i) {
            const long before = counter.Updates();
            writer->Invalidate(&dirty);
            while (counter.Updates() == before)
                SwitchToThread();
        }
        return static_cast<double>(updates) / (Seconds() - start);
    });
}

/// Invalidates without waiting, so that rectangles merge; until the last one has arrived.
double InvalidationsPerSecond(IWriteAccessor* writer, const Counter& counter, long updates)
{
    return Median([&] {
        RECT dirty = {0, 0, 10, 10};
        const double start = Seconds();
        for (long i = 0; i < updates; ++i)
            writer->Invalidate(&dirty);
        // A rectangle may have to wait for the next update.
        dirty.right = 1000000;
        while (counter.Last() != dirty.right) {
            writer->Invalidate(&dirty);
            SwitchToThread();
        }
        const double seconds = Seconds() - start;
        dirty.right = 10;
        while (counter.Last() != dirty.right) {
            writer->Invalidate(&dirty);
            SwitchToThread();
        }
        return static_cast<double>(updates) / seconds;
    });
}

/// One producer and one consumer on a deque under a mutex, and nothing else.
class BareQueue
{
public:
    BareQueue() : consumer_([this] { Consume(); }) {}

    ~BareQueue()
    {
        Put(-1);
        consumer_.join();
    }

    BareQueue(const BareQueue&) = delete;
    BareQueue& operator=(const BareQueue&) = delete;

    void Put(int value)
    {
        const boost::unique_lock<boost::mutex> lock(mutex_);
        queue_.push_back(value);
        filled_.notify_one();
    }

    long Taken() const { return taken_.load(std::memory_order_acquire); }

private:
    int Take()
    {
        boost::unique_lock<boost::mutex> lock(mutex_);
        while (queue_.empty())
            filled_.wait(lock);
        const int value = queue_.front();
        queue_.pop_front();
        return value;
    }

    void Consume()
    {
        while (Take() >= 0)
            taken_.store(taken_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }

    boost::mutex mutex_;
    boost::condition_variable filled_;
    std::deque<int> queue_;
    std::atomic<long> taken_ = 0;
    std::thread consumer_;
};

double HandOffsPerSecond(BareQueue& queue, long count, bool oneByOne)
{
    return Median([&] {
        const long end = queue.Taken() + count;
        const double start = Seconds();
        for (long i = 0; i < count; ++i) {
            const long before = queue.Taken();
            queue.Put(1);
            while (oneByOne && queue.Taken() == before)
                SwitchToThread();
        }
        while (queue.Taken() != end)
            SwitchToThread();
        return static_cast<double>(count) / (Seconds() - start);
    });
}

bool MeasureSynchronous()
{
    ComPtr<ITavlo2> image;
    const ComPtr<IWriteAccessor> writer = WriterOfNewImage(image);
    if (writer == nullptr)
        return false;
    static Counter counter;
    static ITavloEvents* volatile handler = &counter; // called through its table, not inlined
    RECT dirty = {0, 0, 10, 10};
    const double call = Nanoseconds(1000000, [&] { handler->OnImageUpdate(nullptr, &dirty); });
    static CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    const double lock = Nanoseconds(500000, [&] {
        EnterCriticalSection(&section);
        LeaveCriticalSection(&section);
    });
    const double none = Nanoseconds(50000, [&] { writer->Invalidate(&dirty); });
    image->Subscribe(&counter, Tavlo_Synchronous);
    const double one = Nanoseconds(50000, [&] { writer->Invalidate(&dirty); });
    image->Unsubscribe(&counter);

    std::printf("one call                                   ns   x virtual call   x critical section\n");
    const auto row = [&](const char* what, double time) {
        std::printf("%-36s %8.1f %12.1f %18.1f\n", what, time, time / call, time / lock);
    };
    row("virtual call of a handler", call);
    row("critical section, enter and leave", lock);
    row("Invalidate, no handler", none);
    row("Invalidate, one synchronous handler", one);
    return true;
}

bool MeasureAsynchronous()
{
    ComPtr<ITavlo2> image;
    const ComPtr<IWriteAccessor> writer = WriterOfNewImage(image);
    static Counter counter;
    if (writer == nullptr || FAILED(image->Subscribe(&counter, Tavlo_Asynchronous)))
        return false;
    BareQueue queue;
    const double bareSingly = HandOffsPerSecond(queue, 1000, true);
    const double singly = UpdatesPerSecond(writer.Get(), counter, 1000);
    const double bareStream = HandOffsPerSecond(queue, 20000, false);
    const double stream = InvalidationsPerSecond(writer.Get(), counter, 20000);
    image->Unsubscribe(&counter);

    std::printf("\nhand-off to another thread           per second     x bare queue\n");
    const auto row = [](const char* what, double rate, double bare) {
        std::printf("%-36s %10.0f %16.2f\n", what, rate, rate / bare);
    };
    row("bare queue, one after the other", bareSingly, bareSingly);
    row("updates, one after the other", singly, bareSingly);
    row("bare queue, as fast as it takes them", bareStream, bareStream);
    row("Invalidate, merged on the way", stream, bareStream);
    return true;
}

} // namespace

int main()
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const bool measured = MeasureSynchronous() && MeasureAsynchronous();
    std::puts(measured ? "\nmedians of 9 runs" : "The component is not registered.");
    CoUninitialize();
    return measured ? 0 : 1;
}
