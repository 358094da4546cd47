// Another process that changes an image: view_producer NAME WIDTH HEIGHT ENCODING BITS publishes
// one, reads a command a line and answers each with "ok ...".
//
//   paint LEFT TOP RIGHT BOTTOM VALUE   fills whole samples of one number and tells of it
//   stream COUNT RATE   fills the whole image so often, so many times a second
//   die   at once, without a word to anybody
//
// At the end of input it goes, and its image with it.
#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"
#include "client/images/published_image.h"
#include "client/images/shared_image.h"

#include <windows.h>

#include <objbase.h>

#include <cstring>
#include <iostream>
#include <sstream>
#include <string>

namespace {

using namespace Mardu::Sentel::Tavlo::Client;

class Producer
{
public:
    Producer(const std::wstring& name, const Descriptor& descriptor)
        : descriptor_(descriptor),
          image_(Create(descriptor, Tavlo_MultipleWriters)),
          publication_(*image_.get(), name),
          writer_(image_.write())
    {
    }

    void Paint(const tavlo::rect& part, std::int64_t value)
    {
        auto* const base = static_cast<std::uint8_t*>(writer_.base());
        for (std::int32_t y = part.top; y < part.bottom; ++y) {
            std::uint8_t* pixel = base + y * descriptor_.strideY + part.left * descriptor_.strideX;
            for (std::int32_t x = part.left; x < part.right; ++x, pixel += descriptor_.strideX)
                std::memcpy(pixel, &value, static_cast<std::size_t>(descriptor_.strideX));
        }
        writer_.invalidate(part);
    }

    /// Frame i starts at i / rate, or as soon as the one before is done.
    void Stream(int count, int rate)
    {
        LARGE_INTEGER frequency;
        LARGE_INTEGER start;
        QueryPerformanceFrequency(&frequency);
        QueryPerformanceCounter(&start);
        auto* const base = static_cast<std::uint8_t*>(writer_.base());
        const auto bytes = static_cast<std::size_t>(descriptor_.strideY * descriptor_.height);
        for (int i = 0; i < count; ++i) {
            LARGE_INTEGER now;
            QueryPerformanceCounter(&now);
            const LONGLONG due = start.QuadPart + frequency.QuadPart * i / rate;
            if (due > now.QuadPart)
                Sleep(static_cast<DWORD>((due - now.QuadPart) * 1000 / frequency.QuadPart));
            std::memset(base, i, bytes);
            writer_.invalidate();
        }
    }

private:
    Descriptor descriptor_;
    tavlo::image image_;
    Publication publication_;
    tavlo::write_access writer_;
};

void Obey(Producer& producer, const std::string& line)
{
    std::istringstream words(line);
    std::string command;
    words >> command;
    if (command == "paint") {
        tavlo::rect part;
        std::int64_t value = 0;
        words >> part.left >> part.top >> part.right >> part.bottom >> value;
        producer.Paint(part, value);
    } else if (command == "stream") {
        int count = 0;
        int rate = 1;
        words >> count >> rate;
        producer.Stream(count, rate);
    } else if (command == "die") {
        TerminateProcess(GetCurrentProcess(), 1);
    }
}

int Run(char** arguments)
{
    const Descriptor descriptor =
        *PackedGeometry(std::stoi(arguments[2]), std::stoi(arguments[3]),
                        {static_cast<Encoding>(std::stoi(arguments[4])), std::stoi(arguments[5])});
    Producer producer(ToUtf16(arguments[1]), descriptor);
    std::cout << "ok" << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
        Obey(producer, line);
        std::cout << "ok" << std::endl;
    }
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 6)
        return 2;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    int result = 1;
    try {
        result = Run(arguments);
    } catch (const std::exception& failure) {
        std::cout << "no " << failure.what() << std::endl;
    }
    CoUninitialize();
    return result;
}
