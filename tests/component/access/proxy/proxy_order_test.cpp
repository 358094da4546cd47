// What a proxy does in which order: how it is bound, subscribed, refreshed, and how it ends. The
// far end and the runtime's marshaling are stand-ins.
#include "access/proxy/tavlo_proxy.h"
#include "image/descriptor_conversion.h"
#include "module/module_lock.h"
#include "tests/component/replaced_import.h"
#include "tests/component/stand_in.h"
#include "tests/component/steps.h"

#include <gtest/gtest.h>

#include <process.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <thread>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

constexpr long farWidth = 64;
constexpr long farHeight = 48;

std::string EdgesOf(const RECT& rect)
{
    std::string edges;
    for (const LONG edge : {rect.left, rect.top, rect.right, rect.bottom})
        edges += std::to_string(edge) + ' ';
    return edges;
}

/// A near end, of which every fetch gives bytes of its own number, and what it was asked for.
class FarEnd final : public StandIn<ITavloStub>
{
public:
    ~FarEnd() override { NoteStep("stub " + std::to_string(ModuleLockCount())); }

    STDMETHODIMP get_Descriptor(ITavloDescriptor** ppIDescriptor) override
    {
        NoteStep("descriptor");
        const TavloDescriptorData grey = {farWidth, farHeight, 8, 0, 0, 1, farWidth};
        *ppIDescriptor = NewDescriptor(LayoutOf(grey)).Detach();
        return S_OK;
    }

    STDMETHODIMP Subscribe(ITavloEvents* pIHandler) override
    {
        NoteStep(pIHandler != nullptr ? "subscribe" : "unsubscribe");
        return S_OK;
    }

    STDMETHODIMP GetData(RECT* pRect, long size, unsigned char* data) override
    {
        int number = 0;
        {
            const std::lock_guard lock(mutex);
            rects.push_back(EdgesOf(*pRect));
            buffers.push_back(data);
            number = static_cast<int>(rects.size());
        }
        std::memset(data, number, static_cast<size_t>(size));
        if (number == held) {
            entered.Set();
            leave.Wait();
        }
        return S_OK;
    }

    std::mutex mutex;
    std::vector<std::string> rects;
    std::vector<unsigned char*> buffers;
    int held = 0; ///< the fetch that waits until it may leave
    ManualEvent entered;
    ManualEvent leave;

private:
    using TavloDescriptorData = Mardu::Sentel::Tavlo::TavloDescriptorData;
};

/// Any stream, of which nobody reads anything.
class EmptyStream final : public StandIn<IStream>
{
public:
    explicit EmptyStream(std::function<void()> end = [] {}) : end_(std::move(end)) {}
    ~EmptyStream() override { end_(); }

    STDMETHODIMP Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return S_OK; }
    STDMETHODIMP SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IStream**) override { return E_NOTIMPL; }

private:
    const std::function<void()> end_;
};

class ToldHandler final : public StandIn<ITavloEvents>
{
public:
    STDMETHODIMP OnImageUpdate(ITavlo*, RECT*) override
    {
        told.Set();
        return S_OK;
    }

    ManualEvent told;
};

std::string WithObjects(const char* step)
{
    return step + (" " + std::to_string(ModuleLockCount()));
}

/// What the stand-ins of the runtime share.
struct Runtime
{
    ComPtr<FarEnd> stub;
    std::function<void()> whileMarshaling = [] {};
    std::atomic<HRESULT> unmarshalingOnThread = S_OK;
    APTTYPE apartmentOfThread = APTTYPE_CURRENT;
    std::atomic<int> threads = 0;
    HANDLE wake = nullptr;
    HANDLE thread = nullptr;
    std::vector<LPCRITICAL_SECTION> locks;
    void* scratch = nullptr;
    ManualEvent unmarshaledOnThread;
    ManualEvent streamGone;
};

Runtime* inUse = nullptr;

HRESULT GiveStub(void** result)
{
    return inUse->stub->QueryInterface(IID_ITavloStub, result);
}

class ProxyOrder : public testing::Test
{
protected:
    ProxyOrder()
    {
        create_ = creatingEvents_.Original();
        initialise_ = creatingLocks_.Original();
        section_ = creatingSections_.Original();
        thread_ = startingThreads_.Original();
        inUse = &runtime_;
        runtime_.stub = NewStandIn<FarEnd>();
    }

    ~ProxyOrder() override
    {
        proxy_.Reset();
        // What a worker or a thread still does must not find the stand-ins gone.
        EXPECT_TRUE(HoldsSoon([] { return ModuleLockCount() == 0; }));
        runtime_.stub.Reset();
        inUse = nullptr;
        TakeSteps();
    }

    /// Bound to the stub, with the steps that this took.
    std::vector<std::string> Bind()
    {
        TakeSteps();
        proxy_ = Make<CTavloProxy>();
        ComPtr<IUnknown> same;
        EXPECT_EQ(proxy_->UnmarshalInterface(NewStandIn<EmptyStream>().Get(), IID_IUnknown,
                                             reinterpret_cast<void**>(same.GetAddressOf())),
                  S_OK);
        return TakeSteps();
    }

    /// As the first interface, which has no arguments, does it.
    ComPtr<IReadAccessor> Reader() const
    {
        ComPtr<IReadAccessor> reader;
        EXPECT_EQ(static_cast<ITavlo*>(proxy_.Get())->GetReadAccess(&reader), S_OK);
        return reader;
    }

    std::uint8_t PixelOf(IReadAccessor* reader, long x, long y) const
    {
        return *static_cast<std::uint8_t*>(reader->Ptr(x + y * farWidth));
    }

    Runtime runtime_;
    ComPtr<CTavloProxy> proxy_;

private:
    static inline decltype(&CreateEventW) create_ = nullptr;
    static inline decltype(&InitializeCriticalSectionEx) initialise_ = nullptr;
    static inline decltype(&CreateFileMappingW) section_ = nullptr;
    static inline decltype(&_beginthreadex) thread_ = nullptr;

    ReplacedImport<decltype(CoUnmarshalInterface)> unmarshaling_{
        "CoUnmarshalInterface", [](LPSTREAM, REFIID, LPVOID* result) -> HRESULT {
            NoteStep("stub");
            return GiveStub(result);
        }};
    ReplacedImport<decltype(CoMarshalInterThreadInterfaceInStream)> marshaling_{
        "CoMarshalInterThreadInterfaceInStream", [](REFIID, LPUNKNOWN, LPSTREAM* stream) -> HRESULT {
            NoteStep("stub stream");
            inUse->whileMarshaling();
            *stream = NewStandIn<EmptyStream>([] {
                          NoteStep(WithObjects("stream"));
                          inUse->streamGone.Set();
                      }).Detach();
            return S_OK;
        }};
    ReplacedImport<decltype(CoGetInterfaceAndReleaseStream)> unmarshalingOnThread_{
        "CoGetInterfaceAndReleaseStream", [](LPSTREAM stream, REFIID, LPVOID* result) -> HRESULT {
            stream->Release();
            APTTYPEQUALIFIER qualifier;
            CoGetApartmentType(&inUse->apartmentOfThread, &qualifier);
            const HRESULT hr = inUse->unmarshalingOnThread;
            const HRESULT given = SUCCEEDED(hr) ? GiveStub(result) : hr;
            inUse->unmarshaledOnThread.Set();
            return given;
        }};
    ReplacedImport<decltype(CoReleaseMarshalData)> releasing_{"CoReleaseMarshalData",
                                                              [](LPSTREAM) -> HRESULT { return S_OK; }};
    ReplacedImport<decltype(CreateEventW)> creatingEvents_{
        "CreateEventW", [](LPSECURITY_ATTRIBUTES attributes, BOOL manual, BOOL set, LPCWSTR name) -> HANDLE {
            const HANDLE event = create_(attributes, manual, set, name);
            if (inUse->wake == nullptr && manual == FALSE && name == nullptr)
                inUse->wake = event;
            return event;
        }};
    ReplacedImport<decltype(InitializeCriticalSectionEx)> creatingLocks_{
        "InitializeCriticalSectionEx", [](LPCRITICAL_SECTION lock, DWORD spins, DWORD flags) -> BOOL {
            // Those after the first are of the local image.
            if (inUse->locks.size() < 2)
                inUse->locks.push_back(lock);
            return initialise_(lock, spins, flags);
        }};
    ReplacedImport<decltype(CreateFileMappingW)> creatingSections_{
        "CreateFileMappingW",
        [](HANDLE file, LPSECURITY_ATTRIBUTES attributes, DWORD protection, DWORD high, DWORD low,
           LPCWSTR name) -> HANDLE {
            NoteStep("local image");
            return section_(file, attributes, protection, high, low, name);
        }};
    ReplacedImport<decltype(_beginthreadex)> startingThreads_{
        "_beginthreadex",
        [](void* security, unsigned stack, _beginthreadex_proc_type start, void* argument, unsigned flags,
           unsigned* id) -> std::uintptr_t {
            NoteStep("thread");
            ++inUse->threads;
            const std::uintptr_t handle = thread_(security, stack, start, argument, flags, id);
            inUse->thread = reinterpret_cast<HANDLE>(handle);
            return handle;
        }};
};

/// Notes what a proxy gives back in its end, each with how many objects there are still.
class NotedEnd
{
public:
    NotedEnd()
    {
        unmap_ = unmapping_.Original();
        close_ = closing_.Original();
        deleteLock_ = deletingLocks_.Original();
        free_ = freeing_.Original();
    }

private:
    static inline decltype(&UnmapViewOfFile) unmap_ = nullptr;
    static inline decltype(&CloseHandle) close_ = nullptr;
    static inline decltype(&DeleteCriticalSection) deleteLock_ = nullptr;
    static inline decltype(&free) free_ = nullptr;

    ReplacedImport<decltype(UnmapViewOfFile)> unmapping_{"UnmapViewOfFile", [](LPCVOID view) -> BOOL {
                                                             NoteStep(WithObjects("image"));
                                                             return unmap_(view);
                                                         }};
    ReplacedImport<decltype(CloseHandle)> closing_{"CloseHandle", [](HANDLE handle) -> BOOL {
                                                       if (handle == inUse->wake)
                                                           NoteStep(WithObjects("event"));
                                                       else if (handle == inUse->thread)
                                                           NoteStep("thread");
                                                       return close_(handle);
                                                   }};
    ReplacedImport<decltype(DeleteCriticalSection)> deletingLocks_{
        "DeleteCriticalSection", [](LPCRITICAL_SECTION lock) {
            if (std::ranges::find(inUse->locks, lock) != inUse->locks.end())
                NoteStep(WithObjects("lock"));
            deleteLock_(lock);
        }};
    ReplacedImport<decltype(free)> freeing_{"free", [](void* memory) {
                                                if (memory != nullptr && memory == inUse->scratch) {
                                                    inUse->scratch = nullptr;
                                                    NoteStep(WithObjects("scratch"));
                                                }
                                                free_(memory);
                                            }};
};

const RECT wholeFarEnd = {0, 0, farWidth, farHeight};

} // namespace

TEST_F(ProxyOrder, BindsStepByStep)
{
    bool wasSeen = false;
    runtime_.whileMarshaling = [&] {
        ComPtr<IWriteAccessor> writer;
        EXPECT_EQ(proxy_->GetWriteAccess(&writer), S_OK) << "the proxy has not taken the writer yet";
        ComPtr<IReadAccessor> reader;
        EXPECT_EQ(proxy_->GetReadAccess(nullptr, 1.0, &reader), S_OK);
        EXPECT_TRUE(runtime_.stub->rects.empty()) << "nothing is out of date yet";
        wasSeen = true;
    };
    EXPECT_EQ(Bind(), (std::vector<std::string>{"stub", "descriptor", "local image", "stub stream"}));
    EXPECT_TRUE(wasSeen);
    ComPtr<IWriteAccessor> writer;
    EXPECT_EQ(proxy_->GetWriteAccess(&writer), E_ACCESSDENIED);
    Reader();
    EXPECT_EQ(runtime_.stub->rects, std::vector<std::string>{EdgesOf(wholeFarEnd)});
}

TEST_F(ProxyOrder, IsBoundToNothingWhenAStepFails)
{
    runtime_.whileMarshaling = [] { throw HResultException(E_NOINTERFACE); };
    proxy_ = Make<CTavloProxy>();
    ComPtr<IUnknown> same;
    EXPECT_EQ(proxy_->UnmarshalInterface(NewStandIn<EmptyStream>().Get(), IID_IUnknown,
                                         reinterpret_cast<void**>(same.GetAddressOf())),
              E_NOINTERFACE);
    ComPtr<IReadAccessor> reader;
    EXPECT_EQ(proxy_->GetReadAccess(nullptr, 1.0, &reader), E_UNEXPECTED);
    EXPECT_EQ(proxy_->OnImageUpdate(nullptr, nullptr), E_UNEXPECTED);
}

TEST_F(ProxyOrder, EndsStepByStep)
{
    Bind();
    Reader();
    runtime_.scratch = runtime_.stub->buffers.at(0);
    runtime_.stub.Reset();
    TakeSteps();
    {
        const NotedEnd noted;
        proxy_.Reset();
    }
    // Counted are the proxy, its local image, and the writer of that.
    EXPECT_EQ(TakeSteps(), (std::vector<std::string>{"scratch 3", "stream 2", "stub 2", "image 2", "event 1",
                                                     "lock 1", "lock 1"}));
}

TEST_F(ProxyOrder, EndsWithItsThreadFirst)
{
    Bind();
    Reader();
    runtime_.scratch = runtime_.stub->buffers.at(0);
    ASSERT_EQ(proxy_->Subscribe(NewStandIn<ToldHandler>().Get(), Tavlo_Synchronous), S_OK);
    ASSERT_TRUE(runtime_.unmarshaledOnThread.Wait());
    ASSERT_TRUE(runtime_.streamGone.Wait()) << "used up, the stream is released";
    runtime_.stub.Reset();
    TakeSteps();
    {
        const NotedEnd noted;
        proxy_.Reset();
    }
    const std::vector<std::string> steps = TakeSteps();
    ASSERT_EQ(steps.size(), 7u) << testing::PrintToString(steps);
    EXPECT_EQ(steps[0], "thread");
    // The thread's own lock of the module may still be counted.
    EXPECT_EQ(steps[1].substr(0, 7), "scratch");
    EXPECT_EQ(steps[2].substr(0, 4), "stub");
    EXPECT_EQ(steps[3].substr(0, 5), "image");
    EXPECT_EQ(steps[4].substr(0, 5), "event");
    EXPECT_EQ(steps[5].substr(0, 4), "lock");
    EXPECT_EQ(steps[6].substr(0, 4), "lock");
}

TEST_F(ProxyOrder, StartsItsOneThreadBeforeTheStubIsSubscribed)
{
    Bind();
    const auto handler = NewStandIn<ToldHandler>();
    ASSERT_EQ(proxy_->Subscribe(handler.Get(), Tavlo_Synchronous), S_OK);
    EXPECT_EQ(TakeSteps().at(0), "thread");
    ASSERT_TRUE(runtime_.unmarshaledOnThread.Wait());
    EXPECT_EQ(runtime_.apartmentOfThread, APTTYPE_MTA);
    ASSERT_EQ(proxy_->Subscribe(handler.Get(), Tavlo_Synchronous), S_OK);
    ASSERT_EQ(proxy_->Unsubscribe(handler.Get()), S_OK);
    ASSERT_EQ(proxy_->Subscribe(handler.Get(), Tavlo_Synchronous), S_OK);
    EXPECT_EQ(runtime_.threads, 1);
}

TEST_F(ProxyOrder, GetsAnotherThreadForOneThatHasNoStub)
{
    Bind();
    runtime_.unmarshalingOnThread = E_NOINTERFACE;
    const auto handler = NewStandIn<ToldHandler>();
    ASSERT_EQ(proxy_->Subscribe(handler.Get(), Tavlo_Synchronous), S_OK);
    EXPECT_TRUE(HoldsSoon([&] { return proxy_->OnImageUpdate(nullptr, nullptr) == E_NOINTERFACE; }))
        << "the near end is told that nobody refreshes";
    ComPtr<IReadAccessor> reader = Reader();
    EXPECT_EQ(runtime_.stub->rects.size(), 1u) << "who reads still refreshes";

    runtime_.unmarshalingOnThread = S_OK;
    ASSERT_EQ(proxy_->Subscribe(handler.Get(), Tavlo_Synchronous), S_OK);
    EXPECT_EQ(runtime_.threads, 2);
    RECT dirty = {1, 1, 2, 2};
    EXPECT_EQ(proxy_->OnImageUpdate(nullptr, &dirty), S_OK);
    EXPECT_TRUE(HoldsSoon([&] {
        const std::lock_guard lock(runtime_.stub->mutex);
        return runtime_.stub->rects.size() == 2;
    }));
}

TEST_F(ProxyOrder, KeepsItsScratchBuffer)
{
    Bind();
    Reader();
    // Where the buffer was given back, these are in its place.
    const std::vector<std::vector<std::uint8_t>> others(
        16, std::vector<std::uint8_t>(static_cast<size_t>(farWidth * farHeight)));
    for (RECT dirty : {RECT{0, 0, 1, 1}, RECT{0, 0, 9, 9}, wholeFarEnd}) {
        ASSERT_EQ(proxy_->OnImageUpdate(nullptr, &dirty), S_OK);
        Reader();
        EXPECT_EQ(runtime_.stub->buffers.back(), runtime_.stub->buffers.front()) << dirty.right;
    }
}

TEST_F(ProxyOrder, RefreshesOnSeveralThreadsEachItsRectangle)
{
    Bind();
    Reader();
    FarEnd& stub = *runtime_.stub.Get();
    stub.held = 2;
    RECT left = {0, 0, 8, 8};
    RECT right = {20, 20, 28, 28};
    ASSERT_EQ(proxy_->OnImageUpdate(nullptr, &left), S_OK);
    std::thread held([&] { Reader(); });
    ASSERT_TRUE(stub.entered.Wait());
    ASSERT_EQ(proxy_->OnImageUpdate(nullptr, &right), S_OK);
    const ComPtr<IReadAccessor> reader = Reader();
    EXPECT_EQ(PixelOf(reader.Get(), 20, 20), 3) << "nobody waits for the other";
    EXPECT_EQ(PixelOf(reader.Get(), 0, 0), 1);
    stub.leave.Set();
    held.join();
    EXPECT_EQ(PixelOf(reader.Get(), 7, 7), 2);
    EXPECT_EQ(PixelOf(reader.Get(), 27, 27), 3);
    EXPECT_EQ(stub.rects, (std::vector<std::string>{EdgesOf(wholeFarEnd), EdgesOf(left), EdgesOf(right)}));
    EXPECT_NE(stub.buffers[1], stub.buffers[2]);
}

TEST_F(ProxyOrder, IsReadAndClonedThroughItsFirstInterface)
{
    Bind();
    ITavlo* const image = proxy_.Get();
    ComPtr<IReadAccessor> reader;
    ASSERT_EQ(image->GetReadAccess(&reader), S_OK);
    EXPECT_EQ(PixelOf(reader.Get(), farWidth - 1, farHeight - 1), 1) << "it was fetched first";
    RECT dirty = {3, 3, 4, 4};
    ASSERT_EQ(proxy_->OnImageUpdate(nullptr, &dirty), S_OK);
    ComPtr<ITavlo> clone;
    ASSERT_EQ(image->Clone(Tavlo_ReadOnly, &clone), S_OK);
    ComPtr<IReadAccessor> cloned;
    ASSERT_EQ(clone->GetReadAccess(&cloned), S_OK);
    EXPECT_NE(cloned->Ptr(0), reader->Ptr(0));
    EXPECT_EQ(PixelOf(cloned.Get(), 3, 3), 2) << "as before every clone";
    EXPECT_EQ(PixelOf(cloned.Get(), 4, 4), 1);
    ComPtr<IWriteAccessor> writer;
    EXPECT_EQ(clone->GetWriteAccess(&writer), E_ACCESSDENIED);
}

TEST(ProxyWithoutLocks, IsNotMade)
{
    static int failing;
    static int calls;
    static decltype(&InitializeCriticalSectionEx) original;
    const ReplacedImport<decltype(InitializeCriticalSectionEx)> replaced(
        "InitializeCriticalSectionEx", [](LPCRITICAL_SECTION lock, DWORD spins, DWORD flags) -> BOOL {
            if (calls++ != failing)
                return original(lock, spins, flags);
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return FALSE;
        });
    original = replaced.Original();
    for (failing = 0; failing < 2; ++failing) {
        calls = 0;
        EXPECT_EQ(Guarded([] { MakeInstance<CTavloProxy>(nullptr); }),
                  HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY))
            << "the lock of the thread, that of what is pending";
    }
    EXPECT_EQ(ModuleLockCount(), 0);
}
