// Everything that a client does, in the order in which the guide tells it.
//
// Tavlo.dll and TavloPS.dll must be registered.
#include <tavlo/tavlo.hpp>

#include <cstdio>
#include <numeric>
#include <vector>

namespace {

/// An event that waits for one update.
class Signal
{
public:
    Signal() : event_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
    ~Signal() { CloseHandle(event_); }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    void Set() const { SetEvent(event_); }
    void Wait() const { WaitForSingleObject(event_, INFINITE); }

private:
    HANDLE event_;
};

/// Draws a gradient from left to right.
void Draw(const tavlo::image& image)
{
    const auto pixels = image.write<std::uint16_t>();
    for (const std::span<std::uint16_t> row : pixels.rows())
        std::iota(row.begin(), row.end(), std::uint16_t{0});
    pixels.at(639, 479) = 4095;
    pixels.invalidate();
}

void Read(const tavlo::image& image)
{
    const auto pixels = image.read<std::uint16_t>();
    std::uint16_t brightest = 0;
    for (const std::span<const std::uint16_t> row : pixels.rows())
        for (const std::uint16_t pixel : row)
            brightest = pixel > brightest ? pixel : brightest;
    std::printf("the brightest pixel is %d, (100, 200) is %d\n", brightest, pixels.at(100, 200));
}

void Watch(const tavlo::image& image)
{
    const Signal told;
    const auto redraw = [&](const tavlo::rect& changed) {
        std::printf("changed: (%d, %d) to (%d, %d)\n", changed.left, changed.top, changed.right,
                    changed.bottom);
        told.Set();
    };
    {
        const auto subscription = image.subscribe(redraw, Tavlo_Asynchronous);
        const auto pixels = image.write<std::uint16_t>();
        pixels.at(30, 40) = 7;
        pixels.invalidate({30, 40, 31, 41});
        told.Wait();
    } // nobody calls redraw any more

    image.write().invalidate();
}

void Convert(const tavlo::image& image)
{
    const auto shown = tavlo::image::create({.width = 640, .height = 480, .encoding = Tavlo_RGBA});

    // Everything once, with the full range of the source.
    tavlo::recoder().recode(image.read(), shown.write());

    // Again and again, with a tone curve and a colour ramp that may change in between.
    tavlo::lut_recoder recoder(image.descriptor(), shown.descriptor(), {.contrast = 2, .brightness = -0.25});
    recoder.set_color(0.5, {.r = 255});
    recoder.recode(image.read(), shown.write(),
                   {.from = tavlo::rect{0, 0, 320, 240}, .to = {.x = 320, .y = 240}});
    recoder.set({.gamma = 0.45});

    const tavlo::rgba colour = shown.read<tavlo::rgba>().at(639, 479);
    std::printf("the colour there is (%d, %d, %d)\n", colour.r, colour.g, colour.b);
}

void Fail(const tavlo::image& image)
{
    try {
        const auto first = image.write<std::uint16_t>();
        const auto second = image.write<std::uint16_t>(); // the image has a single writer's place
    } catch (const tavlo::error& error) {
        std::printf("%s\n", error.code() == E_ACCESSDENIED ? "somebody is writing" : error.what());
    }

    try {
        image.read<float>();
    } catch (const tavlo::error& error) {
        std::puts(error.what());
    }

    if (const auto pixels = image.try_write<std::uint16_t>())
        std::puts("nobody is writing");
}

/// Three planes in one image.
void Planes()
{
    const tavlo::descriptor red{.width = 64, .height = 48, .encoding = Tavlo_Unsigned};
    tavlo::descriptor green = red;
    green.offset = 64 * 48;
    tavlo::descriptor blue = red;
    blue.offset = 2 * 64 * 48;
    const auto planes = tavlo::image::create(std::vector{red, green, blue});

    const auto access = planes.write();
    access.channel<std::uint8_t>(1).at(0, 0) = 200;
    std::printf("%d channels, green is %d\n", static_cast<int>(planes.channels().size()),
                planes.read<std::uint8_t>(1).at(0, 0));
}

} // namespace

int main()
{
    try {
        const tavlo::apartment apartment;
        const auto image =
            tavlo::image::create({.width = 640, .height = 480, .encoding = Tavlo_Unsigned, .bits = 12});
        Draw(image);
        Read(image);
        Watch(image);
        Convert(image);
        Fail(image);
        Planes();
        std::puts("done");
        return 0;
    } catch (const std::exception& failure) {
        std::puts(failure.what());
        return 1;
    }
}
