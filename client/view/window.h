#pragma once

#include <windows.h>

#include <exception>
#include <string>

namespace Mardu::Sentel::Tavlo::Client::View {

/// A window of this program: its messages go to a method. An exception in there ends the
/// message loop and comes out of it.
class Window
{
public:
    virtual ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    HWND Handle() const noexcept { return window_; }

protected:
    Window() = default;

    /// For the constructor of a class; Handle is valid afterwards, and messages come.
    void Create(const wchar_t* className, const std::wstring& title, DWORD style, DWORD extendedStyle,
                HWND parent);

    virtual LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;
    LRESULT Default(UINT message, WPARAM wParam, LPARAM lParam) const noexcept;

private:
    static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

    HWND window_ = nullptr;
};

/// Passes messages to windows until one ends the program. Keys and the mouse come before
/// everything else, so that a flood of updates delays no user.
void RunMessages();

/// Answers WM_GETTEXT and WM_GETTEXTLENGTH, which screen readers ask a window.
LRESULT AnswerText(const std::wstring& text, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

} // namespace Mardu::Sentel::Tavlo::Client::View
