#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// The parts of text between its separators, empty ones too.
std::vector<std::string_view> Split(std::string_view text, char separator = ',');

/// The letters A to Z as small ones.
std::string LowerCase(std::string text);

/// text as messages show it.
std::string Quoted(std::string_view text);

/// The number that text is, when it is one of 32 bits.
std::optional<std::int32_t> WholeNumber(std::string_view text) noexcept;

/// Reads a whole number. std::invalid_argument says that name is wrong and why.
std::int32_t ParseNumber(std::string_view name, std::string_view text);

/// Reads a whole number that is at least smallest, like ParseNumber.
std::int32_t ParseNumberFrom(std::int32_t smallest, std::string_view name, std::string_view text);

} // namespace Mardu::Sentel::Tavlo::Client
