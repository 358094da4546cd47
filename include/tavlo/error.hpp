/// Failures: HRESULTs as exceptions.
#pragma once

#include <tavlo/com.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace tavlo {
namespace detail {

inline std::string utf8(std::wstring_view text)
{
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

/// The system's text for a result, without the line end; empty when it has none.
inline std::wstring system_text(HRESULT result)
{
    wchar_t text[512];
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                  static_cast<DWORD>(result), 0, text,
                                  static_cast<DWORD>(sizeof text / sizeof *text), nullptr);
    while (length > 0 && (text[length - 1] == L'\r' || text[length - 1] == L'\n' || text[length - 1] == L' '))
        --length;
    return {text, length};
}

} // namespace detail

/// A call that failed. what() is UTF-8 and reads "operation: text (0x80070005)", where the text is
/// the error object's, or the system's when there is none.
class error : public std::runtime_error
{
public:
    /// An error with texts of one's own.
    explicit error(HRESULT code, std::string_view operation = {}, std::wstring description = {},
                   std::wstring source = {})
        : std::runtime_error(message(code, operation, description)),
          code_(code),
          description_(std::move(description)),
          source_(std::move(source))
    {
    }

    /// An error with the texts of the thread's error object, which is taken away.
    static error from_thread(HRESULT code, std::string_view operation)
    {
        com_ptr<IErrorInfo> info;
        bstr description;
        bstr source;
        if (GetErrorInfo(0, info.put()) == S_OK) {
            info->GetDescription(description.put());
            info->GetSource(source.put());
        }
        return error(code, operation, std::wstring(description.view()), std::wstring(source.view()));
    }

    /// The HRESULT; always a failure.
    HRESULT code() const noexcept { return code_; }

    /// The error object's description; empty when there was none.
    const std::wstring& description() const noexcept { return description_; }

    /// The error object's source; empty when there was none.
    const std::wstring& source() const noexcept { return source_; }

private:
    static std::string message(HRESULT code, std::string_view operation, const std::wstring& description)
    {
        std::string text(operation);
        if (const std::string reason =
                detail::utf8(description.empty() ? detail::system_text(code) : description);
            !reason.empty())
            text += (text.empty() ? "" : ": ") + reason;
        text += text.empty() ? "(0x" : " (0x";
        for (int shift = 28; shift >= 0; shift -= 4)
            text += "0123456789ABCDEF"[(static_cast<unsigned long>(code) >> shift) & 0xF];
        return text + ")";
    }

    HRESULT code_;
    std::wstring description_;
    std::wstring source_;
};

namespace detail {

// Apart from check, so that what runs on success stays small enough to be inlined.
[[noreturn]] inline void fail(HRESULT result, const char* operation)
{
    throw error::from_thread(result, operation);
}

} // namespace detail

/// Throws a tavlo::error for a failed result of a component call made just before on this thread;
/// operation says what was attempted. Successes, S_FALSE too, are returned.
inline HRESULT check(HRESULT result, const char* operation)
{
    if (FAILED(result)) [[unlikely]]
        detail::fail(result, operation);
    return result;
}

namespace detail {

/// A new object of a registered class.
template <class Interface>
com_ptr<Interface> create(const CLSID& object, const char* operation)
{
    com_ptr<Interface> created;
    const HRESULT result =
        CoCreateInstance(object, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), created.put_void());
    if (result == REGDB_E_CLASSNOTREG)
        throw error(result, operation, L"Tavlo.dll is not registered");
    check(result, operation);
    return created;
}

} // namespace detail
} // namespace tavlo
