/// Access to an image's pixels for as long as an object lives.
#pragma once

#include <tavlo/descriptor.hpp>
#include <tavlo/geometry.hpp>
#include <tavlo/pixel.hpp>
#include <tavlo/view.hpp>

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tavlo {
namespace detail {

/// The channels of an image, which never change. Copies of one channel, which is the rule, cost
/// nothing; those of several share a list.
class channel_list
{
public:
    channel_list() = default;
    explicit channel_list(const descriptor& only) noexcept : only_(only) {}
    explicit channel_list(std::vector<descriptor> several)
        : several_(std::make_shared<const std::vector<descriptor>>(std::move(several)))
    {
    }

    std::span<const descriptor> all() const noexcept
    {
        return several_ ? std::span(*several_) : std::span(&only_, 1);
    }

    const descriptor& operator[](std::size_t index) const
    {
        if (index >= all().size()) [[unlikely]]
            missing(index, all().size());
        return all()[index];
    }

private:
    [[noreturn]] static void missing(std::size_t index, std::size_t size)
    {
        throw error(E_INVALIDARG, "find channel " + std::to_string(index),
                    L"the image has " + std::to_wstring(size) + (size == 1 ? L" channel" : L" channels"));
    }

    descriptor only_;
    std::shared_ptr<const std::vector<descriptor>> several_;
};

/// How many bytes from an address on are memory in one piece; 0 where there is none.
inline std::uint64_t mapped_bytes(const void* address) noexcept
{
    const auto* const begin = static_cast<const std::byte*>(address);
    const std::byte* end = begin;
    const void* piece = nullptr;
    MEMORY_BASIC_INFORMATION region = {};
    while (end != nullptr && VirtualQuery(end, &region, sizeof(region)) != 0 && region.State == MEM_COMMIT &&
           (piece == nullptr || region.AllocationBase == piece)) {
        piece = region.AllocationBase;
        end = static_cast<const std::byte*>(region.BaseAddress) + region.RegionSize;
    }
    return static_cast<std::uint64_t>(end - begin);
}

/// Refuses channels of which a pixel lies outside the memory from base on.
inline void require_within(std::span<const descriptor> channels, const void* base, const char* operation)
{
    const std::uint64_t bytes = mapped_bytes(base);
    for (const descriptor& channel : channels)
        if (!lies_within(channel, bytes))
            throw error(E_INVALIDARG, operation, L"its geometry reaches outside its memory");
}

[[noreturn]] inline void refuse_view(const descriptor& channel, const std::wstring& reason)
{
    const std::string name = encoding_name(channel.encoding);
    throw error(DISP_E_TYPEMISMATCH, "view the pixels",
                std::wstring(name.begin(), name.end()) + L" of " + std::to_wstring(channel.bits) + L" bits " +
                    reason);
}

/// Whether each of these is a multiple of a type's alignment, those of width or height 1 apart.
template <class T>
bool aligned(const void* first, const descriptor& channel) noexcept
{
    auto bits = reinterpret_cast<std::uintptr_t>(first);
    if (channel.width > 1)
        bits |= static_cast<std::uintptr_t>(channel.stride_x);
    if (channel.height > 1)
        bits |= static_cast<std::uintptr_t>(channel.stride_y);
    return bits % alignof(T) == 0;
}

/// Whether samples of this size overlap. A stride of 0 repeats one sample, which is no overlap.
inline bool overlapping(std::int64_t size, const descriptor& channel) noexcept
{
    const auto narrow = [size](std::int32_t count, std::int64_t stride) {
        return count > 1 && stride != 0 && -size < stride && stride < size;
    };
    return narrow(channel.width, channel.stride_x) || narrow(channel.height, channel.stride_y);
}

/// A view of a channel; T may be const.
template <class T>
view<T> view_of(const descriptor& channel, void* base)
{
    using type = std::remove_const_t<T>;
    if (!pixel_traits<type>::holds(channel.encoding, channel.bits))
        refuse_view(channel, L"are not what the view's type holds");
    const auto first = reinterpret_cast<T*>(static_cast<std::byte*>(base) + channel.offset);
    if (channel.encoding == Tavlo_Data)
        return {first, channel.bits, 1, 1, channel.bits};
    if (overlapping(sizeof(type), channel))
        refuse_view(channel, L"lie closer together than the view's type is large");
    if (!aligned<type>(first, channel))
        refuse_view(channel, L"lie at addresses that the view's type cannot have; use tavlo::unaligned");
    return {first, channel.width, channel.height, channel.stride_x, channel.stride_y};
}

} // namespace detail

/// Read access to all channels of an image. Keeps the image alive, and is never refused, whoever
/// writes meanwhile.
class read_access
{
public:
    read_access() = default;
    read_access(com_ptr<IReadAccessor> accessor, detail::channel_list channels, std::size_t channel) noexcept
        : accessor_(std::move(accessor)), channels_(std::move(channels)), channel_(channel)
    {
    }
    read_access(read_access&&) = default;
    read_access& operator=(read_access&&) = default;

    explicit operator bool() const noexcept { return static_cast<bool>(accessor_); }
    IReadAccessor* get() const noexcept { return accessor_.get(); }

    /// Byte 0 of the image's memory, to which offsets are added.
    const void* base() const noexcept { return accessor_->Ptr(0); }

    /// The geometry of the channel that was asked for.
    const tavlo::descriptor& descriptor() const { return channels_[channel_]; }

    /// The pixels of any channel, valid as long as this access. DISP_E_TYPEMISMATCH when T is not
    /// what the channel holds, E_INVALIDARG for a channel that is not there.
    template <pixel T>
    view<const T> channel(std::size_t index) const
    {
        return detail::view_of<const T>(channels_[index], accessor_->Ptr(0));
    }

private:
    com_ptr<IReadAccessor> accessor_;
    detail::channel_list channels_;
    std::size_t channel_ = 0;
};

/// Write access to all channels of an image. Keeps the image alive, and the only writer's place
/// taken.
class write_access
{
public:
    write_access() = default;
    write_access(com_ptr<IWriteAccessor> accessor, detail::channel_list channels,
                 std::size_t channel) noexcept
        : accessor_(std::move(accessor)), channels_(std::move(channels)), channel_(channel)
    {
    }
    write_access(write_access&&) = default;
    write_access& operator=(write_access&&) = default;

    explicit operator bool() const noexcept { return static_cast<bool>(accessor_); }
    IWriteAccessor* get() const noexcept { return accessor_.get(); }

    /// Byte 0 of the image's memory, to which offsets are added.
    void* base() const noexcept { return accessor_->Ptr(0); }

    /// The geometry of the channel that was asked for.
    const tavlo::descriptor& descriptor() const { return channels_[channel_]; }

    /// The pixels of any channel, valid as long as this access. DISP_E_TYPEMISMATCH when T is not
    /// what the channel holds, E_INVALIDARG for a channel that is not there.
    template <pixel T>
    view<T> channel(std::size_t index) const
    {
        return detail::view_of<T>(channels_[index], accessor_->Ptr(0));
    }

    /// Tells the image's subscribers that all pixels have changed. Synchronous ones have been told
    /// when it returns.
    void invalidate() const { check(accessor_->Invalidate(nullptr), "report a change"); }

    /// The same for the pixels of a rectangle, which is passed on as it is.
    void invalidate(const rect& changed) const
    {
        RECT dirty = changed;
        check(accessor_->Invalidate(&dirty), "report a change");
    }

private:
    com_ptr<IWriteAccessor> accessor_;
    detail::channel_list channels_;
    std::size_t channel_ = 0;
};

/// Access to an image, with the pixels of one channel.
template <class Access, class T>
class access_view : public Access, public view<T>
{
public:
    access_view() = default;
    access_view(Access access, std::size_t channel)
        : Access(std::move(access)), view<T>(Access::template channel<std::remove_const_t<T>>(channel))
    {
    }
    using Access::operator bool;

    // What outlives the expression that it is in must not come from a temporary, as in
    // for (auto row : image.read<T>().rows()): the access would be gone before the first pixel.
    std::span<T> row(std::int32_t y) const& { return view<T>::row(y); }
    std::span<T> row(std::int32_t y) const&& = delete;
    typename view<T>::row_range rows() const& { return view<T>::rows(); }
    typename view<T>::row_range rows() const&& = delete;
    view<T> part(const rect& block) const& { return view<T>::part(block); }
    view<T> part(const rect& block) const&& = delete;
};

/// Read access to one channel, with its pixels.
template <pixel T>
using read_view = access_view<read_access, const T>;

/// Write access to one channel, with its pixels.
template <pixel T>
using write_view = access_view<write_access, T>;

} // namespace tavlo
