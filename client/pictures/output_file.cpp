#include "client/pictures/output_file.h"

#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"

#include <utility>

namespace Mardu::Sentel::Tavlo::Client {

OutputFile::OutputFile(std::wstring path)
    : path_(std::move(path)), temporary_(path_ + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp")
{
    const HANDLE file = CreateFileW(temporary_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        ThrowLastError(Purpose());
    file_.reset(file);
}

OutputFile::~OutputFile()
{
    file_.reset();
    if (!temporary_.empty())
        DeleteFileW(temporary_.c_str());
}

void OutputFile::Write(std::span<const std::uint8_t> bytes)
{
    DWORD written = 0;
    if (!WriteFile(file_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        ThrowLastError(Purpose());
    if (written != bytes.size())
        ThrowError(ERROR_DISK_FULL, Purpose());
    size_ += written;
}

void OutputFile::Commit()
{
    if (!FlushFileBuffers(file_.get()))
        ThrowLastError(Purpose());
    file_.reset();
    if (!MoveFileExW(temporary_.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING))
        ThrowLastError(Purpose());
    temporary_.clear();
}

std::string OutputFile::Purpose() const
{
    return "write '" + ToUtf8(path_) + "'";
}

} // namespace Mardu::Sentel::Tavlo::Client
