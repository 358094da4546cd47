#include "module/error.h"

#include "module/com_ptr.h"
#include "module/critical_section.h"
#include "module/exception_translator.h"
#include "module/foreign_call.h"

#include <comdef.h>
#include <oaidl.h>

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <new>
#include <typeinfo>

namespace Mardu {
namespace {

/// Each byte becomes one code unit, with its sign.
std::wstring Widen(const char* text)
{
    std::wstring wide;
    for (; *text != '\0'; ++text)
        wide.push_back(static_cast<wchar_t>(static_cast<signed char>(*text)));
    return wide;
}

/// The text in the current locale's multibyte encoding; empty when it cannot be said there.
std::string Narrow(const std::wstring& text)
{
    std::array<char, 4096> local;
    const size_t worst = text.size() * static_cast<size_t>(MB_CUR_MAX) + 1;
    size_t written = 0;
    if (worst <= local.size()) {
        if (wcstombs_s(&written, local.data(), local.size(), text.c_str(), _TRUNCATE) != 0)
            return {};
        return {local.data(), written - 1};
    }
    std::string narrow(worst, '\0');
    if (wcstombs_s(&written, narrow.data(), narrow.size(), text.c_str(), _TRUNCATE) != 0)
        return {};
    narrow.resize(written - 1);
    return narrow;
}

std::string TextOf(const HResultException& error)
{
    if (error.hr == S_OK)
        return {};
    std::array<char, 32> number;
    std::snprintf(number.data(), number.size(), "HRESULT %lX: ", static_cast<unsigned long>(error.hr));
    std::string text = number.data() + FormatSystemMessage(static_cast<DWORD>(error.hr));
    if (!error.description.empty())
        text += ": " + Narrow(error.description);
    if (!error.source.empty())
        text += "\nSource: " + Narrow(error.source);
    return text;
}

HRESULT HResultOfLastError(DWORD code) noexcept
{
    const auto value = static_cast<HRESULT>(code);
    return value <= 0 ? value : static_cast<HRESULT>(0x80070000u | (code & 0xFFFFu));
}

using TextGetter = HRESULT (STDMETHODCALLTYPE IErrorInfo::*)(BSTR*);

struct TextFreer
{
    void operator()(BSTR text) const noexcept { SysFreeString(text); }
};

/// One text of an error object; empty when it has none. Throws for want of memory.
std::wstring ReadText(IErrorInfo* info, TextGetter getter)
{
    BSTR text = nullptr;
    const HRESULT hr = CallForeign([&] { return (info->*getter)(&text); });
    const std::unique_ptr<OLECHAR, TextFreer> owner(SUCCEEDED(hr) ? text : nullptr);
    if (hr == E_OUTOFMEMORY)
        throw _com_error(E_OUTOFMEMORY);
    return owner != nullptr ? std::wstring(text, SysStringLen(text)) : std::wstring();
}

/// The same, but empty whatever happens: the result that the texts belong to matters more.
std::wstring TryToReadText(IErrorInfo* info, TextGetter getter) noexcept
{
    try {
        return ReadText(info, getter);
    } catch (...) {
        return {};
    }
}

DWORD TryToReadHelpContext(IErrorInfo* info) noexcept
{
    try {
        DWORD helpContext = 0;
        return SUCCEEDED(CallForeign([&] { return info->GetHelpContext(&helpContext); })) ? helpContext : 0;
    } catch (...) {
        return 0;
    }
}

HResultException WithTextsOf(HRESULT hr, IErrorInfo* info, std::wstring (*read)(IErrorInfo*, TextGetter))
{
    if (info == nullptr)
        return HResultException(hr);
    return {hr, read(info, &IErrorInfo::GetSource), read(info, &IErrorInfo::GetDescription),
            read(info, &IErrorInfo::GetHelpFile), TryToReadHelpContext(info)};
}

HResultException OfException(const std::exception& error)
{
    return {E_FAIL, error.what()};
}

HResultException OfArgumentError(const std::exception& error)
{
    return {E_INVALIDARG, error.what()};
}

/// Results that are there before they are needed: to make one takes memory, to copy one does not.
struct ReadyResults
{
    HResultException unexpected{E_UNEXPECTED};
    HResultException outOfMemory{E_OUTOFMEMORY};
};

const ReadyResults& Ready()
{
    static const ReadyResults ready;
    return ready;
}

/// Without its text where there is no memory for that either.
HResultException OfBadAlloc(const std::bad_alloc& error)
{
    try {
        return {E_OUTOFMEMORY, error.what()};
    } catch (const std::bad_alloc&) {
        return Ready().outOfMemory;
    }
}

HResultException OfComError(const _com_error& error)
{
    return WithTextsOf(error.Error(), TakeReference(error.ErrorInfo()).Get(), ReadText);
}

HResultException OfHResultException(const HResultException& error)
{
    return error;
}

HResultException OfAtlException(const ATL::CAtlException& error)
{
    return HResultException(error);
}

HResultException OfLong(const long& error)
{
    return HResultException(error);
}

HResultException OfWin32Error(const win32_error& error)
{
    return {HResultOfLastError(error.code()), error.what()};
}

/// What a conversion ends with that could not be done; no translator knows it, so that none takes
/// the failure for the exception that was to be translated.
struct FailedConversion
{
};

template <class E, auto convert>
HResultException ConvertedBy(const E& error)
{
    try {
        return convert(error);
    } catch (...) {
        throw FailedConversion();
    }
}

/// The chain from std::exception to win32_error; the last one appended is asked first.
class TranslatorChain
{
public:
    TranslatorChain() : head_(std::make_unique<ExceptionTranslatorTail>())
    {
        Append<std::exception, OfException>();
        Append<std::bad_cast, OfArgumentError>();
        Append<std::invalid_argument, OfArgumentError>();
        Append<std::out_of_range, OfArgumentError>();
        Append<std::bad_alloc, OfBadAlloc>();
        Append<_com_error, OfComError>();
        Append<HResultException, OfHResultException>();
        Append<ATL::CAtlException, OfAtlException>();
        Append<long, OfLong>();
        Append<win32_error, OfWin32Error>();
    }

    void Translate(HResultException& result) { head_->Translate(result); }

private:
    template <class E, auto convert>
    void Append()
    {
        using Function = HResultException (*)(const E&);
        std::unique_ptr<ExceptionTranslatorBase> item =
            std::make_unique<ExceptionTranslator<E, Function>>(ConvertedBy<E, convert>);
        if (last_ != nullptr) {
            last_ = last_->InsertAfter(item);
            return;
        }
        item->SetNext(head_);
        head_ = std::move(item);
        last_ = head_.get();
    }

    std::unique_ptr<ExceptionTranslatorBase> head_;
    ExceptionTranslatorBase* last_ = nullptr;
};

HResultException DescribeCurrentException()
{
    static CriticalSection serialised;
    const std::lock_guard lock(serialised);
    static TranslatorChain chain;
    HResultException result = Ready().unexpected;
    try {
        chain.Translate(result);
    } catch (...) {
        result = Ready().unexpected;
    }
    return result;
}

} // namespace

HResultException::HResultException(HRESULT result) : std::runtime_error(""), hr(result) {}

HResultException::HResultException(HRESULT result, const std::string& message)
    : std::runtime_error(""), hr(result), description(Widen(message.c_str()))
{
}

HResultException::HResultException(HRESULT result, std::wstring errorSource, std::wstring errorDescription,
                                   std::wstring errorHelpFile, DWORD errorHelpContext)
    : std::runtime_error(""),
      hr(result),
      source(std::move(errorSource)),
      description(std::move(errorDescription)),
      helpFile(std::move(errorHelpFile)),
      helpContext(errorHelpContext)
{
}

const char* HResultException::what() const noexcept
{
    try {
        whatText = TextOf(*this);
    } catch (...) {
        whatText.clear();
    }
    return whatText.c_str();
}

win32_error::win32_error(const std::string& message, DWORD code) : std::runtime_error(message), code_(code) {}

const char* win32_error::what() const noexcept
{
    const char* message = std::runtime_error::what();
    try {
        whatText_ =
            std::string(*message != '\0' ? message : "Unknown exception") + ": " + FormatSystemMessage(code_);
        return whatText_.c_str();
    } catch (...) {
        return message;
    }
}

void ThrowLastError(const char* message)
{
    const DWORD code = GetLastError();
    throw win32_error(message, code);
}

std::string FormatSystemMessage(DWORD code)
{
    char* buffer = nullptr;
    const DWORD length = FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
        code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<char*>(&buffer), 0, nullptr);
    const std::unique_ptr<char, decltype(&LocalFree)> owner(buffer, &LocalFree);
    DWORD end = length;
    while (end > 0 && std::isspace(static_cast<unsigned char>(buffer[end - 1])) != 0)
        --end;
    return end > 0 ? std::string(buffer, end) : std::string();
}

void CheckHResult(HRESULT hr)
{
    if (SUCCEEDED(hr))
        return;
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) != S_OK)
        info.Reset();
    throw WithTextsOf(hr, info.Get(), TryToReadText);
}

HRESULT SetComErrorInfo(REFIID iid, const std::wstring& source, const std::wstring& description,
                        const std::wstring& helpFile, DWORD helpContext) noexcept
{
    // The setters take OLECHAR* but copy the text.
    const auto text = [](const std::wstring& value) { return const_cast<wchar_t*>(value.c_str()); };
    ComPtr<ICreateErrorInfo> creator;
    ComPtr<IErrorInfo> info;
    HRESULT hr = CreateErrorInfo(&creator);
    if (SUCCEEDED(hr))
        hr = creator->SetGUID(iid);
    if (SUCCEEDED(hr))
        hr = creator->SetSource(text(source));
    if (SUCCEEDED(hr))
        hr = creator->SetDescription(text(description));
    if (SUCCEEDED(hr))
        hr = creator->SetHelpFile(text(helpFile));
    if (SUCCEEDED(hr))
        hr = creator->SetHelpContext(helpContext);
    if (SUCCEEDED(hr))
        hr = creator.As(&info);
    if (SUCCEEDED(hr))
        hr = SetErrorInfo(0, info.Get());
    return hr;
}

HRESULT TranslateCurrentException() noexcept
{
    try {
        const HResultException error = DescribeCurrentException();
        SetComErrorInfo(GUID_NULL, error.source, error.description, error.helpFile, error.helpContext);
        return error.hr;
    } catch (...) {
        // There was no memory to begin with.
        SetComErrorInfo(GUID_NULL, {}, {}, {}, 0);
        return E_UNEXPECTED;
    }
}

} // namespace Mardu
