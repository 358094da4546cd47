/// Pixels in memory: a pointer, a size and two strides.
#pragma once

#include <tavlo/geometry.hpp>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace tavlo {
namespace detail {

// Texts are made here, so that the checks before them stay small enough to be inlined.
[[noreturn]] inline void outside(const std::string& what, std::int32_t width, std::int32_t height)
{
    throw std::out_of_range(what + " is outside an image of " + std::to_string(width) + " x " +
                            std::to_string(height) + " pixels");
}

[[noreturn]] inline void outside(const point& pixel, std::int32_t width, std::int32_t height)
{
    outside("pixel (" + std::to_string(pixel.x) + ", " + std::to_string(pixel.y) + ")", width, height);
}

[[noreturn]] inline void outside(std::int32_t row, std::int32_t width, std::int32_t height)
{
    outside("row " + std::to_string(row), width, height);
}

[[noreturn]] inline void outside(const rect& block, std::int32_t width, std::int32_t height)
{
    outside("rectangle (" + std::to_string(block.left) + ", " + std::to_string(block.top) + ", " +
                std::to_string(block.right) + ", " + std::to_string(block.bottom) + ")",
            width, height);
}

[[noreturn]] inline void not_packed(std::ptrdiff_t stride, std::size_t size)
{
    throw std::logic_error("rows are not packed: " + std::to_string(stride) +
                           " bytes from pixel to pixel, but " + std::to_string(size) + " a pixel");
}

} // namespace detail

/// A block of pixels somewhere in memory, which it does not own: valid as long as the access that
/// it came from. Strides are bytes and may be negative. Copying it copies no pixels. T is const
/// where pixels may only be read.
template <class T>
class view
{
    using memory = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;

public:
    using value_type = std::remove_const_t<T>;

    /// Rows that lie one after the other without gaps inside them.
    class row_range
    {
    public:
        class iterator
        {
        public:
            using value_type = std::span<T>;
            using difference_type = std::ptrdiff_t;
            using iterator_category = std::input_iterator_tag;

            iterator() = default;
            iterator(const view* pixels, std::int32_t y) noexcept : pixels_(pixels), y_(y) {}

            std::span<T> operator*() const noexcept { return pixels_->packed_row(y_); }

            iterator& operator++() noexcept
            {
                ++y_;
                return *this;
            }

            iterator operator++(int) noexcept
            {
                const iterator before = *this;
                ++y_;
                return before;
            }

            friend bool operator==(const iterator& a, const iterator& b) noexcept { return a.y_ == b.y_; }

        private:
            const view* pixels_ = nullptr;
            std::int32_t y_ = 0;
        };

        explicit row_range(const view& pixels) noexcept : pixels_(pixels) {}
        iterator begin() const noexcept { return {&pixels_, 0}; }
        iterator end() const noexcept { return {&pixels_, pixels_.height_}; }

    private:
        view pixels_;
    };

    /// No pixels.
    view() = default;

    /// The block of width x height pixels whose pixel at (0, 0) is at origin.
    view(T* origin, std::int32_t width, std::int32_t height, std::ptrdiff_t stride_x,
         std::ptrdiff_t stride_y) noexcept
        : origin_(reinterpret_cast<memory*>(origin)),
          width_(width > 0 ? width : 0),
          height_(height > 0 ? height : 0),
          stride_x_(stride_x),
          stride_y_(stride_y)
    {
    }

    /// The same pixels, to be read only.
    operator view<const T>() const noexcept requires(!std::is_const_v<T>)
    {
        return {data(), width_, height_, stride_x_, stride_y_};
    }

    std::int32_t width() const noexcept { return width_; }
    std::int32_t height() const noexcept { return height_; }
    bool empty() const noexcept { return width_ == 0 || height_ == 0; }

    /// Bytes from one pixel to the next.
    std::ptrdiff_t stride_x() const noexcept { return stride_x_; }
    /// Bytes from one row to the next.
    std::ptrdiff_t stride_y() const noexcept { return stride_y_; }

    /// The pixel at (0, 0).
    T* data() const noexcept { return reinterpret_cast<T*>(origin_); }

    /// The pixel at (x, y), which the caller knows to be inside.
    T& operator()(std::int32_t x, std::int32_t y) const noexcept { return *address(x, y); }

    /// The pixel at (x, y). std::out_of_range when there is none.
    T& at(std::int32_t x, std::int32_t y) const
    {
        if (x < 0 || x >= width_ || y < 0 || y >= height_) [[unlikely]]
            detail::outside(point{x, y}, width_, height_);
        return (*this)(x, y);
    }

    /// Whether the pixels of a row lie one after the other, so that a row can be a span.
    bool packed() const noexcept
    {
        return stride_x_ == static_cast<std::ptrdiff_t>(sizeof(T)) || width_ <= 1;
    }

    /// A row as a span. std::out_of_range for a row that is not there, std::logic_error when rows
    /// are not packed.
    std::span<T> row(std::int32_t y) const
    {
        if (y < 0 || y >= height_) [[unlikely]]
            detail::outside(y, width_, height_);
        require_packed();
        return packed_row(y);
    }

    /// All rows from top to bottom, each as a span. std::logic_error when rows are not packed.
    row_range rows() const
    {
        require_packed();
        return row_range(*this);
    }

    /// The pixels of a rectangle. std::out_of_range when it is not inside.
    view part(const rect& block) const
    {
        if (block.left < 0 || block.top < 0 || block.right < block.left || block.bottom < block.top ||
            block.right > width_ || block.bottom > height_) [[unlikely]]
            detail::outside(block, width_, height_);
        return {address(block.left, block.top), block.width(), block.height(), stride_x_, stride_y_};
    }

private:
    T* address(std::int32_t x, std::int32_t y) const noexcept
    {
        return reinterpret_cast<T*>(origin_ + y * stride_y_ + x * stride_x_);
    }

    std::span<T> packed_row(std::int32_t y) const noexcept
    {
        return {address(0, y), static_cast<std::size_t>(width_)};
    }

    void require_packed() const
    {
        if (!packed()) [[unlikely]]
            detail::not_packed(stride_x_, sizeof(T));
    }

    memory* origin_ = nullptr;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
    std::ptrdiff_t stride_x_ = 0;
    std::ptrdiff_t stride_y_ = 0;
};

} // namespace tavlo
