#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace Mardu {

/// A failed HRESULT on its way to a method boundary, with the texts of its error object.
struct HResultException : std::runtime_error
{
    explicit HResultException(HRESULT result);

    /// The description is the message widened byte by byte with its sign, so bytes from
    /// 0x80 become 0xFF80 and up; clients know error texts by these code units.
    HResultException(HRESULT result, const std::string& message);

    HResultException(HRESULT result, std::wstring errorSource, std::wstring errorDescription,
                     std::wstring errorHelpFile, DWORD errorHelpContext);

    /// "HRESULT 80070057: system text: description\nSource: source"; empty for S_OK. The
    /// text is valid until the next call.
    const char* what() const noexcept override;

    HRESULT hr;
    std::wstring source;
    std::wstring description;
    std::wstring helpFile;
    DWORD helpContext = 0;
    mutable std::string whatText;
};

/// A failed platform call: what failed, and the last error right after it.
class win32_error : public std::runtime_error
{
public:
    win32_error(const std::string& message, DWORD code);

    DWORD code() const noexcept { return code_; }

    /// "message: system text". The text is valid until the next call.
    const char* what() const noexcept override;

private:
    DWORD code_;
    mutable std::string whatText_;
};

/// Throws win32_error with the calling thread's last error.
[[noreturn]] void ThrowLastError(const char* message);

/// The system's text for a code, without trailing white space; empty when it has none.
std::string FormatSystemMessage(DWORD code);

/// Throws HResultException for a negative HRESULT, with the texts of the thread's error
/// object, which is taken away from the thread.
void CheckHResult(HRESULT hr);

/// Makes the texts the thread's error object; the first failing step's HRESULT.
HRESULT SetComErrorInfo(REFIID iid, const std::wstring& source, const std::wstring& description,
                        const std::wstring& helpFile, DWORD helpContext) noexcept;

/// Turns the exception being handled into an HRESULT and the thread's error object. Only
/// to be called inside a catch handler.
HRESULT TranslateCurrentException() noexcept;

/// The method boundary: runs a body that returns an HRESULT or nothing (S_OK), and
/// translates whatever it throws.
template <class Body>
HRESULT Guarded(Body&& body) noexcept
{
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
            std::forward<Body>(body)();
            return S_OK;
        } else {
            return std::forward<Body>(body)();
        }
    } catch (...) {
        return TranslateCurrentException();
    }
}

} // namespace Mardu
