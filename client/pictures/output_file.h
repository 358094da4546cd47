#pragma once

#include "client/foundation/handle.h"

#include <cstdint>
#include <span>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {

/// A file that is there completely or not at all: it is written under another name
/// beside its place, and takes the place of an existing file only in Commit.
class OutputFile
{
public:
    explicit OutputFile(std::wstring path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::span<const std::uint8_t> bytes);
    void Commit();

    /// Bytes written.
    std::int64_t Size() const noexcept { return size_; }

private:
    std::string Purpose() const;

    std::wstring path_;
    std::wstring temporary_; ///< empty once there is nothing to delete
    Handle file_;
    std::int64_t size_ = 0;
};

} // namespace Mardu::Sentel::Tavlo::Client
