#pragma once

#include "addressor/element_traits.h"
#include "module/error.h"
#include "module/foreign_call.h"
#include "module/noncopyable.h"

#include <oleauto.h>

#include <cstdint>
#include <cstring>
#include <locale>
#include <sstream>
#include <string>

namespace Mardu::Sentel::Tavlo {

/// Where the elements of an image lie. Strides are bytes and may be negative; positions
/// are not checked against width and height.
struct ElementGrid
{
    std::int32_t width;
    std::int32_t height;
    std::uint8_t* origin; ///< the element at (0, 0)
    std::int64_t strideX;
    std::int64_t strideY;

    template <class T>
    T Read(std::int32_t x, std::int32_t y) const noexcept
    {
        // Elements need not be aligned.
        T element;
        std::memcpy(&element, At(x, y), sizeof(T));
        return element;
    }

    template <class T>
    void Write(std::int32_t x, std::int32_t y, const T& element) const noexcept
    {
        std::memcpy(At(x, y), &element, sizeof(T));
    }

private:
    std::uint8_t* At(std::int32_t x, std::int32_t y) const noexcept
    {
        return origin + x * strideX + y * strideY;
    }
};

/// Reads single pixels of an image whose element type is known to the derived class.
class ConstAddressorBase : private NonCopyable
{
public:
    /// The element as a number, unscaled; std::runtime_error for colours.
    virtual double Value(std::int32_t x, std::int32_t y) const = 0;

    /// The element divided by its type's largest value; std::runtime_error for colours.
    virtual double Normalized(std::int32_t x, std::int32_t y) const = 0;

    virtual VARIANT Get(std::int32_t x, std::int32_t y) const = 0;

    /// The element on the unsigned scale from 0 to 1; the luminance of colours.
    virtual double Intensity(std::int32_t x, std::int32_t y) const = 0;

    virtual std::wstring Text(std::int32_t x, std::int32_t y) const = 0;

    virtual ~ConstAddressorBase() = default;
};

/// Reads and writes single pixels.
class AddressorBase : private NonCopyable
{
public:
    virtual double Value(std::int32_t x, std::int32_t y) const = 0;
    virtual double Normalized(std::int32_t x, std::int32_t y) const = 0;
    virtual VARIANT Get(std::int32_t x, std::int32_t y) const = 0;

    /// Stores a variant, converted where it has another type than the element's; throws
    /// the conversion's HRESULT, and then changes nothing.
    virtual void Set(std::int32_t x, std::int32_t y, const VARIANT& value) = 0;

    virtual ~AddressorBase() = default;

    /// The type of variants that Set stores without a conversion.
    virtual VARTYPE SetType() const noexcept = 0;
};

/// What reading and writing addressors have in common: Base is the abstract class of either.
template <class T, class Base>
class ElementReader : public Base
{
public:
    using Traits = ElementTraits<T>;

    explicit ElementReader(const ElementGrid& grid) noexcept : grid_(grid) {}

    double Value(std::int32_t x, std::int32_t y) const override { return Traits::Value(Element(x, y)); }
    double Normalized(std::int32_t x, std::int32_t y) const override
    {
        return Traits::Normalized(Element(x, y));
    }
    VARIANT Get(std::int32_t x, std::int32_t y) const override { return Traits::Get(Element(x, y)); }

protected:
    T Element(std::int32_t x, std::int32_t y) const noexcept { return grid_.template Read<T>(x, y); }

    const ElementGrid grid_;
};

template <class T>
class ConstAddressor final : public ElementReader<T, ConstAddressorBase>
{
public:
    using Traits = ElementTraits<T>;
    using ElementReader<T, ConstAddressorBase>::ElementReader;

    double Intensity(std::int32_t x, std::int32_t y) const override
    {
        return Traits::Intensity(this->Element(x, y));
    }

    std::wstring Text(std::int32_t x, std::int32_t y) const override
    {
        std::wostringstream text;
        text.imbue(std::locale::classic());
        Traits::Write(text, this->Element(x, y));
        return text.str();
    }
};

/// A variant as a number of a type, which has nothing to clear. Converting an object asks it for
/// its value, so it may run anything.
inline VARIANT ConvertedTo(VARTYPE type, const VARIANT& value)
{
    if (value.vt == type)
        return value;
    VARIANT converted;
    VariantInit(&converted);
    // Not every platform header declares the source const; it is only read.
    CheckHResult(
        CallForeign([&] { return VariantChangeType(&converted, const_cast<VARIANT*>(&value), 0, type); }));
    return converted;
}

template <class T>
class Addressor final : public ElementReader<T, AddressorBase>
{
public:
    using ElementReader<T, AddressorBase>::ElementReader;

    VARTYPE SetType() const noexcept override { return ElementTraits<T>::setType; }

    void Set(std::int32_t x, std::int32_t y, const VARIANT& value) override
    {
        this->grid_.Write(x, y, ElementTraits<T>::From(ConvertedTo(SetType(), value)));
    }
};

} // namespace Mardu::Sentel::Tavlo
