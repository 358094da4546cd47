// What the C++ layer costs: each thing is done with the interfaces alone and with the layer, one
// after the other in the same run, so that the ratio of the two stands on a busy machine too.
#include <tavlo/tavlo.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <span>

namespace {

constexpr int runs = 300;

/// Where results go, so that no loop is left out.
volatile std::uint64_t sink;

double Nanoseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::nano>(now).count();
}

template <class Action>
double TimeOf(int times, Action action)
{
    const double start = Nanoseconds();
    for (int i = 0; i < times; ++i)
        action();
    return (Nanoseconds() - start) / times;
}

/// Prints the time of both ways for one unit of work, and their ratio. Each is the shortest of
/// many short times taken in turns: what other programs take of the processor only adds.
template <class Plain, class Layer>
void Compare(const char* what, int times, double units, Plain plain, Layer layer)
{
    double plainTime = TimeOf(times, plain);
    double layerTime = TimeOf(times, layer);
    for (int run = 1; run < runs; ++run) {
        plainTime = std::min(plainTime, TimeOf(times, plain));
        layerTime = std::min(layerTime, TimeOf(times, layer));
    }
    std::printf("%-46s %10.3f %10.3f %8.2f\n", what, plainTime / units, layerTime / units,
                layerTime / plainTime);
}

/// A handler as one writes it by hand. Lives as long as the program.
class Counter final : public ITavloEvents
{
public:
    STDMETHODIMP OnImageUpdate(ITavlo*, RECT* dirty) override
    {
        sink = sink + static_cast<std::uint64_t>(dirty->right);
        return S_OK;
    }
    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        const bool known = iid == __uuidof(IUnknown) || iid == __uuidof(ITavloEvents);
        *result = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override { return --references_; }

private:
    std::atomic<ULONG> references_ = 1;
};

/// Read access to all bytes, the interfaces' way.
IReadAccessor* Reader(ITavlo2* object)
{
    IReadAccessor* reader = nullptr;
    object->GetReadAccess(nullptr, 1.0, &reader);
    return reader;
}

IWriteAccessor* Writer(ITavlo2* object)
{
    IWriteAccessor* writer = nullptr;
    object->GetWriteAccess(&writer);
    return writer;
}

void ComparePixels()
{
    const auto image =
        tavlo::image::create({.width = 1920, .height = 1080, .encoding = Tavlo_Unsigned, .bits = 16});
    // Read from the image, for neither side may know them when it is compiled.
    const TavloDescriptorData geometry = tavlo::image(image.get()).descriptor();
    const std::int32_t width = geometry.Width;
    const std::int32_t height = geometry.Height;
    const std::ptrdiff_t strideX = geometry.Stride_x;
    const std::ptrdiff_t strideY = geometry.Stride_y;
    const auto sumByHand = [&] {
        IReadAccessor* reader = Reader(image.get());
        const auto* base = static_cast<const unsigned char*>(reader->Ptr(0));
        std::uint64_t sum = 0;
        for (std::int32_t y = 0; y < height; ++y) {
            const auto* row = reinterpret_cast<const std::uint16_t*>(base + y * strideY);
            for (std::int32_t x = 0; x < width; ++x)
                sum += row[x];
        }
        sink = sum;
        reader->Release();
    };
    const auto stridesByHand = [&] {
        IReadAccessor* reader = Reader(image.get());
        const auto* base = static_cast<const unsigned char*>(reader->Ptr(0));
        std::uint64_t sum = 0;
        for (std::int32_t y = 0; y < height; ++y)
            for (std::int32_t x = 0; x < width; ++x)
                sum += *reinterpret_cast<const std::uint16_t*>(base + y * strideY + x * strideX);
        sink = sum;
        reader->Release();
    };
    const double pixels = static_cast<double>(width) * height;
    Compare("a pixel read: rows()", 1, pixels, sumByHand, [&] {
        const auto view = image.read<std::uint16_t>();
        std::uint64_t sum = 0;
        for (const std::span<const std::uint16_t> row : view.rows())
            for (const std::uint16_t pixel : row)
                sum += pixel;
        sink = sum;
    });
    Compare("a pixel read: (x, y)", 1, pixels, stridesByHand, [&] {
        const auto view = image.read<std::uint16_t>();
        std::uint64_t sum = 0;
        for (std::int32_t y = 0; y < view.height(); ++y)
            for (std::int32_t x = 0; x < view.width(); ++x)
                sum += view(x, y);
        sink = sum;
    });
    Compare("a pixel read: at(x, y), checked", 1, pixels, stridesByHand, [&] {
        const auto view = image.read<std::uint16_t>();
        std::uint64_t sum = 0;
        for (std::int32_t y = 0; y < view.height(); ++y)
            for (std::int32_t x = 0; x < view.width(); ++x)
                sum += view.at(x, y);
        sink = sum;
    });
    Compare(
        "a pixel written: rows()", 1, pixels,
        [&] {
            IWriteAccessor* writer = Writer(image.get());
            auto* base = static_cast<unsigned char*>(writer->Ptr(0));
            for (std::int32_t y = 0; y < height; ++y) {
                auto* row = reinterpret_cast<std::uint16_t*>(base + y * strideY);
                for (std::int32_t x = 0; x < width; ++x)
                    row[x] = static_cast<std::uint16_t>(row[x] + x);
            }
            writer->Release();
        },
        [&] {
            const auto view = image.write<std::uint16_t>();
            for (const std::span<std::uint16_t> row : view.rows()) {
                std::int32_t x = 0;
                for (std::uint16_t& pixel : row)
                    pixel = static_cast<std::uint16_t>(pixel + x++);
            }
        });
}

void CompareAccesses()
{
    const auto image = tavlo::image::create({.width = 64, .height = 64, .encoding = Tavlo_Unsigned});
    Compare(
        "read access, one pixel", 2000, 1,
        [&] {
            IReadAccessor* reader = Reader(image.get());
            sink = static_cast<const unsigned char*>(reader->Ptr(0))[65];
            reader->Release();
        },
        [&] { sink = image.read<std::uint8_t>()(1, 1); });
    Compare(
        "write access, one pixel, invalidate", 2000, 1,
        [&] {
            IWriteAccessor* writer = Writer(image.get());
            static_cast<unsigned char*>(writer->Ptr(0))[65] = 1;
            RECT dirty = {1, 1, 2, 2};
            writer->Invalidate(&dirty);
            writer->Release();
        },
        [&] {
            const auto view = image.write<std::uint8_t>();
            view(1, 1) = 1;
            view.invalidate({1, 1, 2, 2});
        });
}

void CompareUpdates()
{
    const auto image =
        tavlo::image::create({.width = 64, .height = 64, .encoding = Tavlo_Unsigned}, Tavlo_MultipleWriters);
    const auto other =
        tavlo::image::create({.width = 64, .height = 64, .encoding = Tavlo_Unsigned}, Tavlo_MultipleWriters);
    static Counter counter;
    image.get()->Subscribe(&counter, Tavlo_Synchronous);
    const auto subscription = other.subscribe(
        [](const tavlo::rect& changed) { sink = sink + static_cast<std::uint64_t>(changed.right); });
    const auto plain = image.write();
    const auto layer = other.write();
    RECT dirty = {1, 1, 2, 2};
    Compare(
        "an update, synchronous", 10000, 1, [&] { plain.get()->Invalidate(&dirty); },
        [&] { layer.get()->Invalidate(&dirty); });
    image.get()->Unsubscribe(&counter);
}

void CompareRecoding(std::int32_t size, int times)
{
    const tavlo::descriptor from{.width = size, .height = size, .encoding = Tavlo_Unsigned, .bits = 12};
    const tavlo::descriptor to{.width = size, .height = size, .encoding = Tavlo_RGBA};
    const auto source = tavlo::image::create(from);
    const auto target = tavlo::image::create(to);
    const auto reading = source.read();
    const auto writing = target.write();
    const tavlo::recoder service;
    auto recoder = service.lut(from, to, {.contrast = 2});
    const auto* input = static_cast<const unsigned char*>(reading.base());
    auto* output = static_cast<unsigned char*>(writing.base());
    char what[64];
    std::snprintf(what, sizeof what, "a LUT recode of %d x %d pixels", static_cast<int>(size),
                  static_cast<int>(size));
    Compare(
        what, times, 1, [&] { recoder.get()->Recode(input, output, nullptr, nullptr); },
        [&] { recoder.recode(reading, writing); });
}

} // namespace

int main()
{
    try {
        const tavlo::apartment apartment;
        std::printf("%-46s %10s %10s %8s\n", "nanoseconds for", "interfaces", "layer", "ratio");
        ComparePixels();
        CompareAccesses();
        CompareUpdates();
        CompareRecoding(16, 1000);
        CompareRecoding(512, 1);
        std::printf("\nthe shortest of %d runs each\n", runs);
        return 0;
    } catch (const std::exception& failure) {
        std::printf("%s\n", failure.what());
        return 1;
    }
}
