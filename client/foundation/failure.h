#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// The system's text for a result, without an end; empty when it has none.
std::string SystemText(HRESULT result);

/// The result in hexadecimal, as messages show it: "0x80070005".
std::string ResultText(HRESULT result);

/// What ends a command: its text says what could not be done, the HRESULT in
/// hexadecimal, the system's text for it, and more where more is known.
class Failure : public std::runtime_error
{
public:
    Failure(HRESULT result, std::string_view what, std::string_view description = {});

    /// A Failure whose text is given as a whole.
    static Failure Saying(HRESULT result, const std::string& text) { return {text, result}; }

    HRESULT Result() const noexcept { return result_; }

private:
    Failure(const std::string& text, HRESULT result) : std::runtime_error(text), result_(result) {}

    HRESULT result_;
};

/// Throws a Failure for a failed result, with the description that the thread's error
/// object has. what continues "cannot ".
void Check(HRESULT result, std::string_view what);

/// Throws a Failure for the thread's last error. what continues "cannot ".
[[noreturn]] void ThrowLastError(std::string_view what);

/// Throws a Failure for a thread's error code.
[[noreturn]] void ThrowError(DWORD error, std::string_view what, std::string_view description = {});

} // namespace Mardu::Sentel::Tavlo::Client
