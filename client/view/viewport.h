#pragma once

#include "client/view/geometry.h"

namespace Mardu::Sentel::Tavlo::Client::View {

/// Which part of an image a window shows, and how large. Image pixel (x, y) begins at
/// Origin() + Scale() * (x, y), and the origin is a whole window pixel.
class Viewport
{
public:
    explicit Viewport(const Size& image) noexcept : image_(image) {}

    /// Keeps the picture fitted, or else the place in the middle.
    void Resize(const Size& window) noexcept;

    /// All of the image, as large as the window lets it be.
    void Fit() noexcept;
    bool IsFitted() const noexcept { return isFitted_; }

    /// Window pixels per image pixel, between Least() and largest. What is at that point stays there,
    /// as far as the window can be filled.
    void ScaleTo(double scale, const Point& at) noexcept;

    /// So many steps of the ladder 1, 1.5, 2, 3, 4, 6, ... up, or down.
    void Zoom(int steps, const Point& at) noexcept;

    /// Moves the picture by so many window pixels.
    void Pan(std::int32_t dx, std::int32_t dy) noexcept;

    /// Moves the picture as little as needed for this pixel to be seen.
    void Reveal(const Point& pixel) noexcept;

    double Scale() const noexcept { return scale_; }
    Point Origin() const noexcept;
    Size Window() const noexcept { return window_; }
    Size Image() const noexcept { return image_; }
    Point Middle() const noexcept { return {window_.width / 2, window_.height / 2}; }

    /// The place of the image that the middle of a window pixel shows.
    Place PlaceAt(const Point& point) const noexcept;

    /// The image pixel that a window pixel shows, or the nearest one.
    Point PixelAt(const Point& point) const noexcept;

    bool IsOnImage(const Point& point) const noexcept;

    /// The window pixels that show any part of these image pixels.
    Rectangle ToWindow(const Rectangle& pixels) const noexcept;

    /// The window pixels that look different when these image pixels change.
    Rectangle Affected(const Rectangle& pixels) const noexcept;

    /// The window pixels that show the image.
    Rectangle Shown() const noexcept { return ToWindow(Whole(image_)); }

    static constexpr double largest = 64;

private:
    double FittingScale() const noexcept;
    double Least() const noexcept;
    void Settle() noexcept;

    Size image_;
    Size window_ = {1, 1};
    double scale_ = 1;
    // Unrounded, so that zooming in and out again ends where it began.
    double originX_ = 0;
    double originY_ = 0;
    bool isFitted_ = true;
};

/// The next larger, or smaller, scale of the ladder.
double NextScale(double scale) noexcept;
double PreviousScale(double scale) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
