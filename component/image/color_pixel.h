#pragma once

namespace Mardu::Sentel {

// Colour pixels of components T, packed, in memory order.

template <class T>
struct rgb_type
{
    T r, g, b;
};

template <class T>
struct bgr_type
{
    T b, g, r;
};

template <class T>
struct rgba_type
{
    T r, g, b, a;
};

template <class T>
struct bgra_type
{
    T b, g, r, a;
};

} // namespace Mardu::Sentel
