#pragma once

#include "client/descriptor.h"
#include "client/rectangle.h"
#include "client/statistics.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// What --json prints. Members keep their order; their names are in snake_case.
using Json = nlohmann::ordered_json;

Json JsonOf(const Descriptor& descriptor);
Json JsonOf(const Rectangle& rectangle);

/// A number; the texts "NaN", "Infinity" and "-Infinity" for what JSON has no numbers for.
Json JsonOf(const Value& value);

/// Minimum, maximum and mean are null where there are no numbers.
Json JsonOf(const ComponentStatistics& component);

/// The text, or null when it is empty.
Json TextOrNull(const std::string& text);

/// What --json prints about an error; code is its HRESULT as text, empty when it has none.
Json ErrorJson(const std::string& error, const std::string& code);

/// The object on one line, ended. Text that is no UTF-8 gets replacement characters.
std::string JsonLine(const Json& object);

} // namespace Mardu::Sentel::Tavlo::Client
