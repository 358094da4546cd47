#pragma once

#include "client/command_line/json.h"
#include "client/pictures/descriptor.h"
#include "client/pictures/png_writer.h"
#include "client/pictures/rectangle.h"
#include "client/pictures/statistics.h"

#include <cstdint>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {

// What commands print about pictures with --json.

Json JsonOf(const Descriptor& descriptor);
Json JsonOf(const Rectangle& rectangle);

/// A number; the texts "NaN", "Infinity" and "-Infinity" for what JSON has no numbers for.
Json JsonOf(const Value& value);

/// Minimum, maximum and mean are null where there are no numbers.
Json JsonOf(const ComponentStatistics& component);

/// A file of this format: its path, bytes, and the bits and channels of its pixels.
Json JsonOf(const std::string& path, const PngFormat& format, std::int64_t size);

} // namespace Mardu::Sentel::Tavlo::Client
