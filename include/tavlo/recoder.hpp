/// Conversions between encodings, bit depths and colours.
#pragma once

#include <tavlo/access.hpp>

#include <optional>

namespace tavlo {

/// Pixels to convert: a geometry, and byte 0 of the memory that it is about. Made of an access, or
/// of memory of one's own.
struct recode_source
{
    recode_source(const tavlo::descriptor& geometry, const void* memory) noexcept
        : descriptor(geometry), base(static_cast<const unsigned char*>(memory))
    {
    }
    recode_source(const read_access& access) : recode_source(access.descriptor(), access.base()) {}
    recode_source(const write_access& access) : recode_source(access.descriptor(), access.base()) {}

    tavlo::descriptor descriptor;
    const unsigned char* base;
};

/// Where converted pixels go: a geometry, and byte 0 of the memory that it is about.
struct recode_target
{
    recode_target(const tavlo::descriptor& geometry, void* memory) noexcept
        : descriptor(geometry), base(static_cast<unsigned char*>(memory))
    {
    }
    recode_target(const write_access& access) : recode_target(access.descriptor(), access.base()) {}

    tavlo::descriptor descriptor;
    unsigned char* base;
};

/// Which pixels are converted: {.from = rect, .to = point}.
struct region
{
    /// Source pixels; all of them unless given.
    std::optional<rect> from = {};
    /// The target pixel that the first of them goes to.
    point to = {};
};

/// The tone curve: {.contrast = 2, .gamma = 0.45}. Any values are taken.
struct tone
{
    double contrast = 1;
    double brightness = 0;
    double gamma = 1;
    double sigma = 1;
    friend bool operator==(const tone&, const tone&) = default;
};

namespace detail {

/// The arguments that a region is for the component.
class region_arguments
{
public:
    explicit region_arguments(const region& where) noexcept : to_(where.to)
    {
        if (where.from)
            from_ = *where.from;
        hasFrom_ = where.from.has_value();
    }

    const RECT* from() const noexcept { return hasFrom_ ? &from_ : nullptr; }
    const POINT* to() const noexcept { return &to_; }

private:
    RECT from_ = {};
    POINT to_;
    bool hasFrom_;
};

} // namespace detail

/// A converter for one pair of geometries, with a tone curve and a colour ramp that may change
/// between calls. Used by one thread at a time; cheap to call again.
class lut_recoder
{
public:
    lut_recoder() = default;

    /// E_FAIL, with a text that names both, when no conversion leads from source to target.
    lut_recoder(const descriptor& source, const descriptor& target, const tone& curve = {})
        : lut_recoder(*detail::create<IRecode>(__uuidof(CoRecoder), "create the recoder").get(), source,
                      target, curve)
    {
    }

    /// The same from a recode service that one has.
    lut_recoder(IRecode& service, const descriptor& source, const descriptor& target, const tone& curve = {})
        : source_(source), target_(target)
    {
        const TavloDescriptorData from = source;
        const TavloDescriptorData to = target;
        check(service.CreateLUTRecoder(&from, &to, object_.put()), "create a recoder");
        set(curve);
    }

    explicit operator bool() const noexcept { return static_cast<bool>(object_); }
    ILUTRecode* get() const noexcept { return object_.get(); }

    /// Changes the tone curve; what is left out is put back: set({.contrast = 2}).
    void set(const tone& curve)
    {
        check(object_->SetContrast(curve.contrast), "set the contrast");
        check(object_->SetBrightness(curve.brightness), "set the brightness");
        check(object_->SetGamma(curve.gamma), "set the gamma");
        check(object_->SetSigma(curve.sigma), "set the sigma");
    }

    tone curve() const
    {
        tone values;
        check(object_->GetContrast(&values.contrast), "get the contrast");
        check(object_->GetBrightness(&values.brightness), "get the brightness");
        check(object_->GetGamma(&values.gamma), "get the gamma");
        check(object_->GetSigma(&values.sigma), "get the sigma");
        return values;
    }

    /// The colour at a position of the ramp, 0 to 1; for a conversion without a ramp the grey that
    /// the tone curve gives there.
    rgba color(double at) const
    {
        ULONG value = 0;
        check(object_->GetColor(at, &value), "get a colour");
        return rgba::from(value);
    }

    /// Sets the ramp's colour at a position, 0 to 1, adding a control point where there is none.
    /// E_INVALIDARG when the conversion has no ramp.
    void set_color(double at, const rgba& value)
    {
        check(object_->SetColor(at, value.packed()), "set a colour");
    }

    /// Puts back the ramp from black to white.
    void reset_colors() { check(object_->ResetColorLUT(), "reset the colours"); }

    /// Converts with the tone curve and the ramp. E_INVALIDARG for a region outside either side,
    /// and for geometries that the recoder was not made for.
    void recode(const recode_source& source, const recode_target& target, const region& where = {})
    {
        require_same(source, target);
        const detail::region_arguments arguments(where);
        check(object_->Recode(source.base, target.base, arguments.from(), arguments.to()), "recode");
    }

    /// Converts every element by its plain value, without scaling, curve or ramp.
    void cast(const recode_source& source, const recode_target& target, const region& where = {})
    {
        require_same(source, target);
        const detail::region_arguments arguments(where);
        check(object_->Cast(source.base, target.base, arguments.from(), arguments.to()), "cast");
    }

private:
    // The component gets pointers only, and would read and write with the geometries it was made for.
    void require_same(const recode_source& source, const recode_target& target) const
    {
        if (source.descriptor != source_ || target.descriptor != target_) [[unlikely]]
            throw error(E_INVALIDARG, "recode", L"the recoder was made for other descriptors");
    }

    com_ptr<ILUTRecode> object_;
    descriptor source_;
    descriptor target_;
};

/// The recode service. Any number of threads may use one.
class recoder
{
public:
    recoder() : object_(detail::create<IRecode>(__uuidof(CoRecoder), "create the recoder")) {}
    explicit recoder(IRecode* object) noexcept : object_(object) {}

    IRecode* get() const noexcept { return object_.get(); }

    /// Copies pixels of the same type; scales others from the source's full range to the target's.
    /// E_FAIL, with a text that names both, when no conversion leads from source to target,
    /// E_INVALIDARG for a region outside either side.
    void recode(const recode_source& source, const recode_target& target, const region& where = {}) const
    {
        const call arguments(source, target, where);
        check(object_->Recode(&arguments.source, source.base, &arguments.target, target.base,
                              arguments.where.from(), arguments.where.to()),
              "recode");
    }

    /// Copies pixels of the same type, clipped at the target's edges. E_FAIL, with a text, for
    /// other types.
    void rewrite(const recode_source& source, const recode_target& target, const region& where = {}) const
    {
        const call arguments(source, target, where);
        check(object_->Rewrite(&arguments.source, source.base, &arguments.target, target.base,
                               arguments.where.from(), arguments.where.to()),
              "rewrite");
    }

    /// Converts every element by its plain value, without scaling.
    void cast(const recode_source& source, const recode_target& target, const region& where = {}) const
    {
        const call arguments(source, target, where);
        check(object_->Cast(&arguments.source, source.base, &arguments.target, target.base,
                            arguments.where.from(), arguments.where.to()),
              "cast");
    }

    /// The bytes that an image of these channels takes.
    std::uint32_t data_size(std::span<const descriptor> channels) const
    {
        ULONG size = 0;
        check(object_->TavloDataSize(detail::object_of(channels).get(), &size), "find an image's size");
        return size;
    }
    std::uint32_t data_size(const descriptor& geometry) const { return data_size(std::span(&geometry, 1)); }

    /// A converter with a tone curve and a colour ramp.
    lut_recoder lut(const descriptor& source, const descriptor& target, const tone& curve = {}) const
    {
        return {*object_.get(), source, target, curve};
    }

private:
    struct call
    {
        call(const recode_source& from, const recode_target& to, const region& which) noexcept
            : source(from.descriptor), target(to.descriptor), where(which)
        {
        }

        const TavloDescriptorData source;
        const TavloDescriptorData target;
        const detail::region_arguments where;
    };

    com_ptr<IRecode> object_;
};

} // namespace tavlo
