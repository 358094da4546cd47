/// Being told of an image's changes.
#pragma once

#include <tavlo/error.hpp>
#include <tavlo/geometry.hpp>

#include <atomic>
#include <concepts>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace tavlo {
namespace detail {

/// A handler of updates that can be closed: from then on it calls nothing any more.
class handler : public ITavloEvents
{
public:
    handler() = default;
    handler(const handler&) = delete;
    handler& operator=(const handler&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        if (result == nullptr)
            return E_POINTER;
        const bool known = iid == __uuidof(IUnknown) || iid == __uuidof(ITavloEvents);
        *result = known ? static_cast<ITavloEvents*>(this) : nullptr;
        if (known)
            AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }

    STDMETHODIMP_(ULONG) AddRef() override { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
            delete this;
        return left;
    }

    // A failure makes the image drop the handler.
    STDMETHODIMP OnImageUpdate(ITavlo*, RECT* dirty) override
    {
        if (dirty == nullptr)
            return E_POINTER;
        const call running(*this);
        if (closed_.load())
            return E_ABORT;
        try {
            update(rect::from(*dirty));
            return S_OK;
        } catch (...) {
            const lock held(lock_);
            failure_ = std::current_exception();
            return E_FAIL;
        }
    }

    /// Calls nothing from now on, waits for calls on other threads, and lets the callable go
    /// unless this is inside of it.
    void close() noexcept
    {
        closed_.store(true);
        while (running(true))
            Sleep(1);
        if (!running(false))
            drop();
    }

    std::exception_ptr failure() const noexcept
    {
        const lock held(lock_);
        return failure_;
    }

protected:
    virtual ~handler() = default;
    virtual void update(const rect& changed) = 0;
    virtual void drop() noexcept = 0;

private:
    class lock
    {
    public:
        explicit lock(SRWLOCK& section) noexcept : section_(section) { AcquireSRWLockExclusive(&section_); }
        ~lock() { ReleaseSRWLockExclusive(&section_); }
        lock(const lock&) = delete;
        lock& operator=(const lock&) = delete;

    private:
        SRWLOCK& section_;
    };

    /// Writes down for the time of a call which thread it is on. One call at a time, which is the
    /// rule, costs one exchange; those beside and inside it are kept in a list.
    class call
    {
    public:
        explicit call(handler& owner) noexcept : owner_(owner)
        {
            DWORD nobody = 0;
            if (owner_.thread_.compare_exchange_strong(nobody, thread_))
                return;
            listed_ = true;
            const lock held(owner_.lock_);
            next_ = owner_.calls_;
            owner_.calls_ = this;
        }

        ~call()
        {
            if (!listed_) {
                owner_.thread_.store(0, std::memory_order_release);
                return;
            }
            const lock held(owner_.lock_);
            call** place = &owner_.calls_;
            while (*place != this)
                place = &(*place)->next_;
            *place = next_;
        }

        call(const call&) = delete;
        call& operator=(const call&) = delete;

        DWORD thread() const noexcept { return thread_; }
        const call* next() const noexcept { return next_; }

    private:
        handler& owner_;
        const DWORD thread_ = GetCurrentThreadId();
        bool listed_ = false;
        call* next_ = nullptr;
    };

    /// Whether there is a call, on this thread or on any other one.
    bool running(bool elsewhere) noexcept
    {
        const DWORD self = GetCurrentThreadId();
        const DWORD thread = thread_.load();
        if (thread != 0 && (thread != self) == elsewhere)
            return true;
        const lock held(lock_);
        for (const call* one = calls_; one != nullptr; one = one->next())
            if ((one->thread() != self) == elsewhere)
                return true;
        return false;
    }

    std::atomic<ULONG> references_ = 1;
    std::atomic<bool> closed_ = false;
    std::atomic<DWORD> thread_ = 0;
    call* calls_ = nullptr;
    mutable SRWLOCK lock_ = SRWLOCK_INIT;
    std::exception_ptr failure_;
};

template <class Callable>
class callable_handler final : public handler
{
public:
    template <class Argument>
    requires(!std::same_as<std::remove_cvref_t<Argument>, callable_handler>) explicit callable_handler(
        Argument&& callable)
        : callable_(std::in_place, std::forward<Argument>(callable))
    {
    }

private:
    void update(const rect& changed) override { (*callable_)(changed); }
    void drop() noexcept override { callable_.reset(); }

    std::optional<Callable> callable_;
};

} // namespace detail

/// What can be told of changes: anything callable with the rectangle that changed.
template <class Callable>
concept update_callable = std::invocable < std::decay_t<Callable>
&, const rect& > ;

/// A callable that is told of an image's changes until the subscription is destroyed. It keeps the
/// image alive.
///
/// When the destructor returns, the callable is destroyed: it is not running and will not be called
/// again. The destructor waits for calls on other threads, so
/// - a callable must not wait for the thread that destroys its subscription;
/// - a callable may destroy its own subscription: that one call goes on to its end, and the callable
///   is destroyed when the image has let go of it.
///
/// A callable that throws ends its subscription, as the component does with handlers that fail:
/// it is not called again, writers and other subscribers notice nothing, and failure() has the
/// exception.
///
/// A subscription is destroyed in the apartment that made it, by one thread at a time.
class subscription
{
public:
    subscription() = default;

    /// Synchronous: called on the thread that invalidates, possibly on several at once.
    /// Asynchronous: called on a thread of the image, one call at a time and with rectangles
    /// merged; in a single-threaded apartment on the thread that subscribed, while it dispatches
    /// messages.
    template <update_callable Callable>
    subscription(ITavlo2& image, Callable&& callable, EventMode mode)
        : handler_(com_ptr<detail::handler>::take(
              new detail::callable_handler<std::decay_t<Callable>>(std::forward<Callable>(callable)))),
          image_(&image)
    {
        check(image.Subscribe(handler_.get(), mode), "subscribe to an image");
    }

    subscription(subscription&&) = default;

    subscription& operator=(subscription&& other) noexcept
    {
        if (this != &other) {
            reset();
            handler_ = std::move(other.handler_);
            image_ = std::move(other.image_);
        }
        return *this;
    }

    ~subscription() { reset(); }

    /// Ends the subscription now.
    void reset() noexcept
    {
        // Taken out first, so that the callable may come here again.
        const com_ptr<detail::handler> handler = std::move(handler_);
        const com_ptr<ITavlo2> image = std::move(image_);
        if (!handler)
            return;
        image->Unsubscribe(handler.get());
        handler->close();
    }

    /// Whether there is a subscription, were it one that has failed.
    explicit operator bool() const noexcept { return static_cast<bool>(handler_); }

    /// The exception that ended the subscription; null while it goes on.
    std::exception_ptr failure() const noexcept { return handler_ ? handler_->failure() : nullptr; }

private:
    com_ptr<detail::handler> handler_;
    com_ptr<ITavlo2> image_;
};

} // namespace tavlo
