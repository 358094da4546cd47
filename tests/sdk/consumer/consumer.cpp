// A user's program: shares an image, changes it and converts it.
#include <tavlo/tavlo.hpp>

#include <iostream>

int main()
{
    try {
        const tavlo::apartment apartment;
        const auto image = tavlo::image::create({.width = 4, .height = 3, .encoding = Tavlo_Unsigned});
        int updates = 0;
        const auto subscription = image.subscribe([&](const tavlo::rect&) { ++updates; });
        {
            const auto pixels = image.write<unsigned char>();
            for (const auto row : pixels.rows())
                for (unsigned char& pixel : row)
                    pixel = 51;
            pixels.invalidate();
        }
        const auto floats = tavlo::image::create({.width = 4, .height = 3, .encoding = Tavlo_Float});
        tavlo::recoder().recode(image.read(), floats.write());
        std::cout << "consumer: " << updates << " update, " << floats.read<float>().at(3, 2) << std::endl;
        return 0;
    } catch (const std::exception& failure) {
        std::cout << failure.what() << std::endl;
        return 1;
    }
}
