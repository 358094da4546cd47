#pragma once

#include "module/error.h"
#include "module/exception_translator.h"
#include "module/handle.h"

#include <comdef.h>
#include <gtest/gtest.h>
#include <oaidl.h>
#include <wrl/client.h>

#include <array>
#include <cctype>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

// What the tests of the error model share.

using namespace Mardu;
using Microsoft::WRL::ComPtr;

/// The texts of an error object.
struct Texts
{
    std::wstring source;
    std::wstring description;
    std::wstring helpFile;
    DWORD helpContext = 0;

    bool operator==(const Texts&) const = default;
};

inline void PrintTo(const Texts& texts, std::ostream* out)
{
    for (const std::wstring& text : {texts.source, texts.description, texts.helpFile})
        *out << testing::PrintToString(text) << ", ";
    *out << texts.helpContext;
}

inline std::wstring Taken(BSTR text)
{
    const std::wstring copy(text, SysStringLen(text));
    SysFreeString(text);
    return copy;
}

inline Texts TextsIn(IErrorInfo* info)
{
    Texts texts;
    BSTR text = nullptr;
    CheckHResult(info->GetSource(&text));
    texts.source = Taken(text);
    CheckHResult(info->GetDescription(&text));
    texts.description = Taken(text);
    CheckHResult(info->GetHelpFile(&text));
    texts.helpFile = Taken(text);
    CheckHResult(info->GetHelpContext(&texts.helpContext));
    return texts;
}

inline Texts TextsIn(const HResultException& error)
{
    return {error.source, error.description, error.helpFile, error.helpContext};
}

/// Takes the thread's error object; null when it has none.
inline ComPtr<IErrorInfo> TakeErrorObject()
{
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) != S_OK)
        info.Reset();
    return info;
}

/// Takes the texts of the thread's error object; nothing when it has none.
inline std::optional<Texts> TakeTexts()
{
    const ComPtr<IErrorInfo> info = TakeErrorObject();
    return info ? std::optional(TextsIn(info.Get())) : std::nullopt;
}

inline void SetTexts(const Texts& texts)
{
    CheckHResult(
        SetComErrorInfo(IID_IPersist, texts.source, texts.description, texts.helpFile, texts.helpContext));
}

/// ASCII only.
inline std::wstring Wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

/// The system's text for a code, asked for without the code under test.
inline std::string SystemText(DWORD code)
{
    std::array<char, 4096> buffer = {};
    DWORD length = FormatMessageA(FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code,
                                  MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), buffer.data(),
                                  static_cast<DWORD>(buffer.size()), nullptr);
    while (length > 0 && std::isspace(static_cast<unsigned char>(buffer[length - 1])) != 0)
        --length;
    return {buffer.data(), length};
}

/// A code of an application, which the system has no text for.
constexpr DWORD codeWithoutText = 0xA0001234;

/// An error object that answers as it is told to and counts its references.
class ScriptedErrorObject : public IErrorInfo
{
public:
    HRESULT source = S_OK;
    HRESULT description = S_OK;
    HRESULT helpFile = S_OK;
    HRESULT helpContext = S_OK;
    bool textsAreNull = false;
    ULONG references = 1;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        *result = nullptr;
        if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IErrorInfo))
            return E_NOINTERFACE;
        *result = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    STDMETHODIMP GetGUID(GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetSource(BSTR* text) override { return Answer(source, L"source", text); }
    STDMETHODIMP GetDescription(BSTR* text) override { return Answer(description, L"description", text); }
    STDMETHODIMP GetHelpFile(BSTR* text) override { return Answer(helpFile, L"help file", text); }
    STDMETHODIMP GetHelpContext(DWORD* value) override
    {
        *value = 7;
        return helpContext;
    }

private:
    HRESULT Answer(HRESULT result, const wchar_t* value, BSTR* text) const
    {
        *text = SUCCEEDED(result) && !textsAreNull ? SysAllocString(value) : nullptr;
        return result;
    }
};

/// Runs a function whose exception is translated.
inline HRESULT Translated(const std::function<void()>& raise)
{
    return Guarded([&] { raise(); });
}

/// Runs a function on so many threads at once, each with its number.
inline void RunTogether(size_t count, const std::function<void(size_t)>& function)
{
    const UniqueHandle start(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::vector<std::thread> threads;
    for (size_t number = 0; number < count; ++number)
        threads.emplace_back([&, number] {
            WaitForSingleObject(start.get(), INFINITE);
            function(number);
        });
    SetEvent(start.get());
    for (std::thread& thread : threads)
        thread.join();
}

class ErrorModel : public testing::Test
{
protected:
    ErrorModel() { TakeErrorObject(); }
    ~ErrorModel() override { TakeErrorObject(); }
};

using TranslatedException = ErrorModel;
