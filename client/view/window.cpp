#include "client/view/window.h"

#include "client/foundation/failure.h"

#include <algorithm>
#include <utility>

namespace Mardu::Sentel::Tavlo::Client::View {
namespace {

/// What a window threw. One thread has all windows.
std::exception_ptr thrown;

void RegisterWindowClass(const wchar_t* name, WNDPROC procedure)
{
    WNDCLASSEXW description = {};
    description.cbSize = sizeof description;
    description.style = CS_DBLCLKS;
    description.lpfnWndProc = procedure;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.lpszClassName = name;
    if (RegisterClassExW(&description) == 0 && GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
        ThrowLastError("register a window class");
}

} // namespace

Window::~Window()
{
    if (window_ != nullptr) {
        SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
        DestroyWindow(window_);
    }
}

void Window::Create(const wchar_t* className, const std::wstring& title, DWORD style, DWORD extendedStyle,
                    HWND parent)
{
    RegisterWindowClass(className, Receive);
    const HWND window =
        CreateWindowExW(extendedStyle, className, title.c_str(), style, CW_USEDEFAULT, CW_USEDEFAULT,
                        CW_USEDEFAULT, CW_USEDEFAULT, parent, nullptr, GetModuleHandleW(nullptr), nullptr);
    if (window == nullptr)
        ThrowLastError("open a window");
    window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

LRESULT Window::Default(UINT message, WPARAM wParam, LPARAM lParam) const noexcept
{
    return DefWindowProcW(window_, message, wParam, lParam);
}

LRESULT CALLBACK Window::Receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept
{
    auto* self = reinterpret_cast<Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self == nullptr)
        return DefWindowProcW(window, message, wParam, lParam);
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        self->window_ = nullptr;
        return DefWindowProcW(window, message, wParam, lParam);
    }
    try {
        return self->OnMessage(message, wParam, lParam);
    } catch (...) {
        // The platform's code above us knows no exceptions.
        thrown = std::current_exception();
        PostQuitMessage(0);
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

void RunMessages()
{
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE | PM_QS_INPUT) ||
           GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
        if (thrown)
            break;
    }
    if (thrown)
        std::rethrow_exception(std::exchange(thrown, nullptr));
}

LRESULT AnswerText(const std::wstring& text, UINT message, WPARAM wParam, LPARAM lParam) noexcept
{
    if (message == WM_GETTEXTLENGTH)
        return static_cast<LRESULT>(text.size());
    if (wParam == 0)
        return 0;
    const std::size_t length = std::min(text.size(), static_cast<std::size_t>(wParam) - 1);
    auto* target = reinterpret_cast<wchar_t*>(lParam);
    std::copy_n(text.data(), length, target);
    target[length] = L'\0';
    return static_cast<LRESULT>(length);
}

} // namespace Mardu::Sentel::Tavlo::Client::View
