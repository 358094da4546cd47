// Stands on the desktop where viewers are: view_driver reads a command a line from standard input and
// answers each with a line on standard output, "ok ..." or "no ...". The keyboard and the mouse are the
// test's own.
//
//   start COMMANDLINE      starts a program, which then has this one's desktop
//   window TITLE           waits for the window of this title; it is the one of what follows
//   text STATUS|PANEL|PICTURE   the text of a part of the window, its line ends as '|'
//   place PICTURE|...      left, top, width and height of a part on the screen
//   resize WIDTH HEIGHT    the window, frame included
//   dpi DPI                tells the window that its screen has another resolution
//   close                  the window
//   ended                  waits until the window's process has ended
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <iostream>
#include <sstream>
#include <string>

namespace {

constexpr DWORD patience = 60000;

HWND viewer = nullptr;
HANDLE viewerProcess = nullptr;

std::wstring ToUtf16(const std::string& text)
{
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(MultiByteToWideChar(
        CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), static_cast<int>(wide.size()))));
    return wide;
}

std::string ToUtf8(const std::wstring& text)
{
    std::string narrow(text.size() * 3, '\0');
    narrow.resize(static_cast<std::size_t>(
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr)));
    return narrow;
}

HWND Part(const std::string& name)
{
    const wchar_t* const className = name == "STATUS"  ? L"TavloStatusLine"
                                     : name == "PANEL" ? L"TavloSidePanel"
                                                       : L"TavloPicture";
    return FindWindowExW(viewer, nullptr, className, nullptr);
}

std::string Start(const std::string& line)
{
    std::wstring command = ToUtf16(line);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process))
        return "no " + std::to_string(GetLastError());
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return "ok";
}

/// Looks again and again: no event tells of another process's window.
std::string FindViewer(const std::string& title)
{
    const ULONGLONG start = GetTickCount64();
    do {
        viewer = FindWindowW(L"TavloViewer", ToUtf16(title).c_str());
        if (viewer != nullptr && IsWindowVisible(viewer) && Part("STATUS") != nullptr) {
            DWORD process = 0;
            GetWindowThreadProcessId(viewer, &process);
            viewerProcess = OpenProcess(SYNCHRONIZE, FALSE, process);
            return "ok";
        }
        Sleep(10);
    } while (GetTickCount64() - start < patience);
    return "no";
}

std::string TextOf(const std::string& part)
{
    std::wstring text(8192, L'\0');
    DWORD_PTR length = 0;
    if (!SendMessageTimeoutW(Part(part), WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                             SMTO_NORMAL, patience, &length))
        return "no";
    text.resize(length);
    for (wchar_t& c : text)
        c = c == L'\n' ? L'|' : c;
    return "ok " + ToUtf8(text);
}

std::string PlaceOf(const std::string& part)
{
    RECT area = {};
    GetClientRect(Part(part), &area);
    POINT origin = {0, 0};
    ClientToScreen(Part(part), &origin);
    std::ostringstream text;
    text << "ok " << origin.x << ' ' << origin.y << ' ' << area.right << ' ' << area.bottom;
    return text.str();
}

std::string ChangeDpi(UINT dpi)
{
    RECT place = {};
    GetWindowRect(viewer, &place);
    // The window reads the rectangle in its own memory.
    HANDLE process = nullptr;
    DWORD id = 0;
    GetWindowThreadProcessId(viewer, &id);
    process = OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_WRITE, FALSE, id);
    void* const there =
        VirtualAllocEx(process, nullptr, sizeof place, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    WriteProcessMemory(process, there, &place, sizeof place, nullptr);
    SendMessageW(viewer, WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(there));
    VirtualFreeEx(process, there, 0, MEM_RELEASE);
    CloseHandle(process);
    return "ok";
}

std::string Obey(const std::string& line)
{
    std::istringstream words(line);
    std::string command;
    words >> command >> std::ws;
    std::string rest;
    std::getline(words, rest);
    std::istringstream arguments(rest);
    int first = 0;
    int second = 0;
    if (command == "start")
        return Start(rest);
    if (command == "window")
        return FindViewer(rest);
    if (command == "text")
        return TextOf(rest);
    if (command == "place")
        return PlaceOf(rest);
    if (command == "close")
        return PostMessageW(viewer, WM_CLOSE, 0, 0) ? "ok" : "no";
    if (command == "ended")
        return WaitForSingleObject(viewerProcess, patience) == WAIT_OBJECT_0 ? "ok" : "no";
    arguments >> first >> second;
    if (command == "resize")
        return SetWindowPos(viewer, nullptr, 0, 0, first, second, SWP_NOMOVE | SWP_NOZORDER) ? "ok" : "no";
    if (command == "dpi")
        return ChangeDpi(static_cast<UINT>(first));
    return "no such command";
}

} // namespace

int main()
{
    std::string line;
    while (std::getline(std::cin, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        std::cout << Obey(line) << '\n' << std::flush;
    }
}
