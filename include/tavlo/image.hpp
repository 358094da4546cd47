/// Images: made, adopted, or handed over by somebody else.
#pragma once

#include <tavlo/access.hpp>
#include <tavlo/subscription.hpp>

#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tavlo {

/// An image in shared memory. Copies of the object are the same image, which lives as long as any
/// of them, any access or any subscription does.
class image
{
public:
    image() = default;

    /// An image that was handed over, for instance by another process. E_POINTER for null. What
    /// another process says of its geometry is not believed: read and write throw E_INVALIDARG
    /// where a pixel would lie outside the image's memory.
    explicit image(com_ptr<ITavlo2> object)
        : object_(std::move(object)),
          channels_(channels_of(object_.get())),
          is_from_elsewhere_(is_proxy(object_.get()))
    {
    }
    explicit image(ITavlo2* object) : image(com_ptr<ITavlo2>(object)) {}

    /// A new image in memory of its own, all zero. E_INVALIDARG, or the system's error, for a
    /// geometry without bytes.
    static image create(const tavlo::descriptor& geometry, TavloAccess access = Tavlo_SingleWriter)
    {
        com_ptr<ITavlo2> object;
        check(factory()->Create(geometry.object().get(), access, object.put()), "create an image");
        return {std::move(object), detail::channel_list(geometry)};
    }

    /// A new image with several channels, all of the same width and height.
    static image create(std::span<const tavlo::descriptor> channels, TavloAccess access = Tavlo_SingleWriter)
    {
        com_ptr<ITavlo> object;
        check(planes_factory()->Create(detail::object_of(channels).get(), access, object.put()),
              "create an image");
        return {object.query<ITavlo2>(), list_of(channels)};
    }

    /// An image over the section (the file mapping) of exactly this name, which other programs
    /// share. The geometry is trusted: pixels outside the section must not be touched.
    static image adopt(std::wstring_view section, const tavlo::descriptor& geometry,
                       TavloAccess access = Tavlo_SingleWriter)
    {
        com_ptr<ITavlo2> object;
        check(factory()->Adopt(bstr(section).get(), geometry.object().get(), access, object.put()),
              "adopt a section");
        return {std::move(object), detail::channel_list(geometry)};
    }

    /// The same for several channels, all of the same width and height.
    static image adopt(std::wstring_view section, std::span<const tavlo::descriptor> channels,
                       TavloAccess access = Tavlo_SingleWriter)
    {
        com_ptr<ITavlo> object;
        check(planes_factory()->Adopt(bstr(section).get(), detail::object_of(channels).get(), access,
                                      object.put()),
              "adopt a section");
        return {object.query<ITavlo2>(), list_of(channels)};
    }

    explicit operator bool() const noexcept { return static_cast<bool>(object_); }

    /// The image's interface, of which the caller gets no reference.
    ITavlo2* get() const noexcept { return object_.get(); }

    /// The geometry of a channel. E_INVALIDARG for one that is not there.
    const tavlo::descriptor& descriptor(std::size_t channel = 0) const { return channels_[channel]; }

    /// The geometry of all channels, for as long as this object lives.
    std::span<const tavlo::descriptor> channels() const noexcept { return channels_.all(); }

    std::int32_t width() const { return descriptor().width; }
    std::int32_t height() const { return descriptor().height; }

    /// Read access without a type, for recoders and for several channels.
    read_access read(std::size_t channel = 0) const
    {
        channels_[channel];
        com_ptr<IReadAccessor> accessor;
        check(object_->GetReadAccess(nullptr, 1.0, accessor.put()), "read an image");
        if (is_from_elsewhere_)
            detail::require_within(channels_.all(), accessor->Ptr(0), "read an image");
        return {std::move(accessor), channels_, channel};
    }

    /// Read access to a channel's pixels. DISP_E_TYPEMISMATCH when T is not what it holds.
    template <pixel T>
    read_view<T> read(std::size_t channel = 0) const
    {
        return {read(channel), channel};
    }

    /// Write access without a type, for recoders and for several channels. E_ACCESSDENIED for a
    /// read-only image, and while the only writer's place is taken.
    write_access write(std::size_t channel = 0) const
    {
        channels_[channel];
        com_ptr<IWriteAccessor> accessor;
        check(object_->GetWriteAccess(accessor.put()), "write an image");
        if (is_from_elsewhere_)
            detail::require_within(channels_.all(), accessor->Ptr(0), "write an image");
        return {std::move(accessor), channels_, channel};
    }

    /// Write access to a channel's pixels. DISP_E_TYPEMISMATCH when T is not what it holds;
    /// otherwise like write().
    template <pixel T>
    write_view<T> write(std::size_t channel = 0) const
    {
        return {write(channel), channel};
    }

    /// Write access, or nothing where write() throws E_ACCESSDENIED.
    std::optional<write_access> try_write(std::size_t channel = 0) const
    {
        channels_[channel];
        com_ptr<IWriteAccessor> accessor;
        const HRESULT result = object_->GetWriteAccess(accessor.put());
        if (result == E_ACCESSDENIED)
            return std::nullopt;
        check(result, "write an image");
        if (is_from_elsewhere_)
            detail::require_within(channels_.all(), accessor->Ptr(0), "write an image");
        return write_access(std::move(accessor), channels_, channel);
    }

    /// Write access to a channel's pixels, or nothing where write() throws E_ACCESSDENIED.
    template <pixel T>
    std::optional<write_view<T>> try_write(std::size_t channel = 0) const
    {
        auto access = try_write(channel);
        if (!access)
            return std::nullopt;
        return write_view<T>(std::move(*access), channel);
    }

    /// A new image with the same geometry and a copy of the bytes. Of a Tavlo_ReadOnly one nobody
    /// ever changes a byte.
    image clone(TavloAccess access = Tavlo_SingleWriter) const
    {
        image copy;
        check(object_->Clone(access, copy.object_.put()), "clone an image");
        copy.channels_ = channels_;
        copy.is_from_elsewhere_ = is_from_elsewhere_;
        return copy;
    }

    /// Calls the callable with a const tavlo::rect& at every change, until the result is
    /// destroyed; see tavlo::subscription for threads, exceptions and the end.
    template <update_callable Callable>
    [[nodiscard]] subscription subscribe(Callable&& callable, EventMode mode = Tavlo_Synchronous) const
    {
        return {*object_.get(), std::forward<Callable>(callable), mode};
    }

private:
    image(com_ptr<ITavlo2> object, detail::channel_list channels) noexcept
        : object_(std::move(object)), channels_(std::move(channels))
    {
    }

    static detail::channel_list list_of(std::span<const tavlo::descriptor> channels)
    {
        if (channels.size() == 1)
            return detail::channel_list(channels.front());
        return detail::channel_list(std::vector<tavlo::descriptor>(channels.begin(), channels.end()));
    }

    static com_ptr<ITavloFactory2> factory()
    {
        return detail::create<ITavloFactory2>(__uuidof(TavloFactory), "create the image factory");
    }

    static com_ptr<ITavloFactory> planes_factory()
    {
        return detail::create<ITavloFactory>(__uuidof(TavloFactory), "create the image factory");
    }

    /// Whether the object stands for one of another apartment, process or machine.
    static bool is_proxy(ITavlo2* object) noexcept
    {
        com_ptr<IClientSecurity> proxy;
        return SUCCEEDED(object->QueryInterface(__uuidof(IClientSecurity), proxy.put_void()));
    }

    static detail::channel_list channels_of(ITavlo2* object)
    {
        const char* const operation = "read an image's descriptor";
        if (object == nullptr)
            throw error(E_POINTER, operation, L"there is no image");
        std::vector<tavlo::descriptor> channels;
        com_ptr<ITavlo> planes;
        check(object->QueryInterface(__uuidof(ITavlo), planes.put_void()), operation);
        com_ptr<ITavloDescriptor> all;
        check(planes->get_Descriptor(all.put()), operation);
        LONG count = 0;
        check(all->get_Channels(&count), operation);
        for (LONG index = 0; index < count; ++index)
            channels.push_back(tavlo::descriptor::from(*all.get(), index));
        return list_of(channels);
    }

    com_ptr<ITavlo2> object_;
    detail::channel_list channels_;
    bool is_from_elsewhere_ = false;
};

} // namespace tavlo
