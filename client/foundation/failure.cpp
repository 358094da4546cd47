#include "client/foundation/failure.h"

#include "client/foundation/utf16.h"

#include <oleauto.h>
#include <tavlo/com.hpp>

#include <cstdint>
#include <iomanip>
#include <sstream>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

std::string Message(HRESULT result, std::string_view what, std::string_view description)
{
    std::string message = "cannot " + std::string(what) + ": " + ResultText(result);
    if (const std::string text = SystemText(result); !text.empty())
        message += ": " + text;
    if (!description.empty())
        message.append(": ").append(description);
    return message;
}

/// Takes the description out of the thread's error object.
std::string TakeDescription()
{
    tavlo::com_ptr<IErrorInfo> error;
    BSTR description = nullptr;
    if (GetErrorInfo(0, error.put()) != S_OK || FAILED(error->GetDescription(&description)))
        return {};
    const std::string text = ToUtf8({description, SysStringLen(description)});
    SysFreeString(description);
    return text;
}

} // namespace

std::string SystemText(HRESULT result)
{
    wchar_t* text = nullptr;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
        static_cast<DWORD>(result), 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::string utf8 = ToUtf8({text, length});
    LocalFree(text);
    utf8.erase(utf8.find_last_not_of(" \r\n.") + 1);
    return utf8;
}

std::string ResultText(HRESULT result)
{
    std::ostringstream text;
    text << "0x" << std::hex << std::uppercase << std::setw(8) << std::setfill('0')
         << static_cast<std::uint32_t>(result);
    return text.str();
}

Failure::Failure(HRESULT result, std::string_view what, std::string_view description)
    : std::runtime_error(Message(result, what, description)), result_(result)
{
}

void Check(HRESULT result, std::string_view what)
{
    if (FAILED(result))
        throw Failure(result, what, TakeDescription());
}

void ThrowLastError(std::string_view what)
{
    ThrowError(GetLastError(), what);
}

void ThrowError(DWORD error, std::string_view what, std::string_view description)
{
    throw Failure(HRESULT_FROM_WIN32(error), what, description);
}

} // namespace Mardu::Sentel::Tavlo::Client
