/// Tavlo for C++20: images in shared memory as values, views and callables.
///
/// A header-only layer over TavloLib.h, which stays usable beside it: every object here gives out
/// the interface that it holds, and is made of one. Nothing here needs a library to link but
/// ole32 and oleaut32; interface and class identifiers come from the headers.
///
/// Rules that hold for everything in the namespace tavlo:
/// - A failed call throws tavlo::error, with the HRESULT and the text of the error object.
/// - Lengths along x and y are pixels, offsets and strides are bytes; rectangles exclude their
///   right column and bottom row.
/// - Objects own one reference to what they hold. A default-constructed or moved-from one holds
///   nothing: it may be assigned to, tested and destroyed, and nothing else.
/// - The calling thread must be in an apartment (tavlo::apartment, or CoInitializeEx), and objects
///   must be destroyed before it leaves it.
#pragma once

#include <tavlo/apartment.hpp>
#include <tavlo/image.hpp>
#include <tavlo/recoder.hpp>
#include <tavlo/subscription.hpp>
