// The first client: makes an image, writes a pixel, says so, and reads it back.
//
// Tavlo.dll must be registered.
#include <tavlo/tavlo.hpp>

#include <cstdio>

int main()
{
    const tavlo::apartment apartment;
    const auto image = tavlo::image::create({.width = 640, .height = 480, .encoding = Tavlo_Unsigned});
    {
        const auto pixels = image.write<std::uint8_t>();
        pixels.at(10, 20) = 255;
        pixels.invalidate({10, 20, 11, 21}); // whoever subscribed to the image is told now
    }
    std::printf("pixel (10, 20) is %d\n", image.read<std::uint8_t>().at(10, 20));
}
