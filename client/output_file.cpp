#include "client/output_file.h"

#include "client/failure.h"
#include "client/text.h"

#include <utility>

namespace Mardu::Sentel::Tavlo::Client {

OutputFile::OutputFile(std::wstring path)
    : m_path(std::move(path)), m_temporary(m_path + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp")
{
    const HANDLE file = CreateFileW(m_temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        ThrowLastError(Purpose());
    m_file.reset(file);
}

OutputFile::~OutputFile()
{
    m_file.reset();
    if (!m_temporary.empty())
        DeleteFileW(m_temporary.c_str());
}

void OutputFile::Write(std::span<const std::uint8_t> bytes)
{
    DWORD written = 0;
    if (!WriteFile(m_file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        ThrowLastError(Purpose());
    if (written != bytes.size())
        ThrowError(ERROR_DISK_FULL, Purpose());
}

void OutputFile::Commit()
{
    if (!FlushFileBuffers(m_file.get()))
        ThrowLastError(Purpose());
    m_file.reset();
    if (!MoveFileExW(m_temporary.c_str(), m_path.c_str(), MOVEFILE_REPLACE_EXISTING))
        ThrowLastError(Purpose());
    m_temporary.clear();
}

std::string OutputFile::Purpose() const
{
    return "write '" + Utf8(m_path) + "'";
}

} // namespace Mardu::Sentel::Tavlo::Client
