#include "recode/recoders/numeric_recoders.h"

namespace Mardu::Sentel::Tavlo {

TableRecoder::TableRecoder(const TavloDescriptorData& source, const TavloDescriptorData& target,
                           const Source& sourceField, Element targetElement, const ValueRange& targetRange)
    : recoder_base(source, target),
      source_(sourceField),
      range_(targetRange),
      lut_(targetElement, sourceField.field.Count(), sourceField.field.Sign())
{
    UpdateLUT();
}

RecodeResult TableRecoder::Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                                  std::uint64_t height)
{
    if (width == 0 || height == 0)
        return RecodeResult::done;
    const SampleField& field = source_.field;
    const LookupKernels& kernels = ActiveKernels().lookup;
    if (const SteppedTable* table = Stepped(width, height)) {
        Run(srcPixels, dstPixels, width, height,
            [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                kernels.stepped(*table, from, to, count);
            });
        return RecodeResult::done;
    }
    if (const auto compute = ComputingLoop()) {
        Run(srcPixels, dstPixels, width, height,
            [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                compute(lut_.Curve(), field.Mask(), field.Sign(), from, to, count);
            });
        return RecodeResult::done;
    }
    const auto lookup = (HasWords() ? kernels.from16 : kernels.from8)[SizeOf(lut_.Entry()).Index()];
    const auto look = [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
        lookup(lut_.Entries(), field.Mask(), from, to, count);
    };
    if (lut_.IsComplete() || !HasWords()) {
        lut_.RequireAll();
        Run(srcPixels, dstPixels, width, height, look);
        return RecodeResult::done;
    }
    const PixelsRead pixels(lut_.Count(), From(srcPixels), width, height);
    lut_.Require(pixels.NeededEntries(lut_.Count(), field.Sign(), width, height));
    RunFrom(pixels.Source(), dstPixels, width, height, look);
    return RecodeResult::done;
}

RecodeResult TableRecoder::Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                                std::uint64_t height)
{
    const auto cast = ActiveKernels().cast.cast[IndexOf(source_.element)][IndexOf(lut_.Entry())];
    const PackedSize size = SizeOf(source_.element);
    if (static_cast<std::size_t>(source_.field.Bits()) == 8 * size.Bytes()) {
        Run(srcPixels, dstPixels, width, height, cast);
        return RecodeResult::done;
    }
    const auto toValues = [field = source_.field](const std::uint8_t* from, std::uint8_t* to,
                                                  std::size_t count) {
        ForEachPixel<std::uint16_t, std::uint16_t>(from, to, count,
                                                   [field](std::uint16_t v) { return field.Value(v); });
    };
    Run(srcPixels, dstPixels, width, height,
        [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
            ConvertTwice({size, size, SizeOf(lut_.Entry())}, from, to, count, toValues, cast);
        });
    return RecodeResult::done;
}

void TableRecoder::UpdateLUT()
{
    const auto last = static_cast<double>(lut_.Count() - 1);
    lut_.Use(ToneCurve(Tone(), last, range_, ToneCurve::Bounds::whole));
    stepped_.reset();
}

void TableRecoder::Run(const std::uint8_t* srcPixels, std::uint8_t* dstPixels, std::uint64_t width,
                       std::uint64_t height, PackedConversion convert)
{
    RunFrom(From(srcPixels), dstPixels, width, height, convert);
}

void TableRecoder::RunFrom(const SourceBlock& source, std::uint8_t* dstPixels, std::uint64_t width,
                           std::uint64_t height, PackedConversion convert)
{
    ConvertPacked(source, SizeOf(source_.element), To(dstPixels), SizeOf(lut_.Entry()), width, height,
                  convert);
}

CurveKernels::OfField TableRecoder::ComputingLoop() const
{
    return HasWords() ? ActiveKernels().Of(lut_.Curve()).ofField[IndexOf(lut_.Entry())] : nullptr;
}

const SteppedTable* TableRecoder::Stepped(std::uint64_t width, std::uint64_t height)
{
    const std::uint64_t enough = 2 * lut_.Count();
    if (!HasWords() || SizeOf(lut_.Entry()).Bytes() != 1 || ActiveKernels().lookup.stepped == nullptr ||
        height < enough / width)
        return nullptr;
    if (!stepped_) {
        lut_.RequireAll();
        stepped_ = SteppedTable::Of(lut_.Entries(), source_.field.Bits());
    }
    return stepped_->get();
}

RecodeResult ComputingRecoder::Recode(const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
                                      std::uint64_t width, std::uint64_t height)
{
    const ToneCurve curve(Tone(), RangeOf(source_).span, RangeOf(target_), ToneCurve::Bounds::exact);
    const auto convert =
        ActiveKernels().Of(curve).pairs[CurveKernels::SourceIndex(source_)][IndexOf(target_)];
    ConvertPacked(From(srcPixels), SizeOf(source_), To(dstPixels), SizeOf(target_), width, height,
                  [&](const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
                      convert(curve, from, to, count);
                  });
    return RecodeResult::done;
}

RecodeResult ComputingRecoder::Cast(const std::uint8_t* srcPixels, std::uint8_t* dstPixels,
                                    std::uint64_t width, std::uint64_t height)
{
    const auto cast = ActiveKernels().cast.cast[IndexOf(source_)][IndexOf(target_)];
    ConvertPacked(From(srcPixels), SizeOf(source_), To(dstPixels), SizeOf(target_), width, height, cast);
    return RecodeResult::done;
}

} // namespace Mardu::Sentel::Tavlo
