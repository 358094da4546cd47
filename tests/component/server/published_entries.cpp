#include "tests/component/server/published_entries.h"

#include "TavloLib.h"

#include <algorithm>
#include <array>
#include <cwctype>

namespace {

/// A class as its registry entries describe it.
struct PublishedClass
{
    const CLSID& clsid;
    std::wstring versioned;
    std::wstring independent;
    std::wstring description;
    std::wstring progIdDescription;
    std::wstring clsidIndependent;
};

const PublishedClass publishedClasses[] = {
    {CLSID_TavloStub, L"Tavlo.TavloStub.1", L"Tavlo.TavloStub", L"TavloStub Class", L"TavloStub Class",
     L"Tavlo.TavloStub"},
    {CLSID_ReadAccessor, L"Tavlo.ReadAccessor.1", L"Tavlo.ReadAccessor", L"ReadAccessor Class",
     L"ReadAccessor Class", L"Tavlo.ReadAccessor"},
    {CLSID_WriteAccessor, L"Tavlo.WriteAccessor.1", L"Tavlo.WriteAccessor", L"WriteAccessor Class",
     L"WriteAccessor Class", L"Tavlo.WriteAccessor"},
    {CLSID_TavloDescriptor, L"Tavlo.TavloDescriptor.1", L"Tavlo.TavloDescriptor", L"TavloDescriptor Class",
     L"TavloDescriptor Class", L"Tavlo.TavloDescriptor.1"},
    {CLSID_TavloDescriptor2, L"Tavlo.TavloDescriptor.2", L"Tavlo.TavloDescriptor", L"TavloDescriptor2 Class",
     L"TavloDescriptor Class", L"Tavlo.TavloDescriptor"},
    {CLSID_Tavlo, L"Tavlo.Tavlo.1", L"Tavlo.Tavlo", L"Tavlo Class", L"Tavlo Class", L"Tavlo.Tavlo"},
    {CLSID_TavloProxy, L"Tavlo.TavloProxy.1", L"Tavlo.TavloProxy", L"TavloProxy Class", L"TavloProxy Class",
     L"Tavlo.TavloProxy"},
    {CLSID_TavloAddressor, L"Tavlo.Addressor.1", L"Tavlo.Addressor", L"TavloAddressor Class",
     L"TavloAddressor Class", L"Tavlo.Addressor"},
    {CLSID_CoRecoder, L"Tavlo.CoRecoder.1", L"Tavlo.CoRecoder", L"CoRecoder Class", L"CoRecoder Class",
     L"Tavlo.CoRecoder"},
    {CLSID_TavloEventsReflector, L"Tavlo.TavloEventsReflector.1", L"Tavlo.TavloEventsReflector",
     L"TavloEventsReflector Class", L"TavloEventsReflector Class", L"Tavlo.TavloEventsReflector"},
    {CLSID_TavloFactory, L"Tavlo.TavloFactory.1", L"Tavlo.TavloFactory", L"TavloFactory Class",
     L"TavloFactory Class", L"Tavlo.TavloFactory"},
};

bool StartsWith(const std::wstring& text, const std::wstring& start)
{
    return text.compare(0, start.size(), start) == 0;
}

} // namespace

std::wstring TextOf(const GUID& guid)
{
    std::array<wchar_t, 40> text;
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::wstring DllPath()
{
    std::wstring path = TAVLO_DLL_PATH;
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return path;
}

RegistrySnapshot ExpectedClassKeys(const std::wstring& appId, const std::wstring& dll)
{
    RegistrySnapshot expected;
    const auto key = [&](const std::wstring& path) -> auto&
    {
        return expected[LowerCase(path)];
    };
    key(L"AppID\\" + appId)[L""] = L"Tavlo";
    key(L"AppID\\Tavlo.DLL")[L"AppID"] = appId;
    for (const PublishedClass& c : publishedClasses) {
        const std::wstring clsid = TextOf(c.clsid);
        key(c.versioned)[L""] = c.progIdDescription;
        key(c.versioned + L"\\CLSID")[L""] = clsid;
        key(c.independent)[L""] = c.progIdDescription;
        key(c.independent + L"\\CLSID")[L""] = clsid;
        key(c.independent + L"\\CurVer")[L""] = c.versioned;
        const std::wstring own = L"CLSID\\" + clsid;
        key(own)[L""] = c.description;
        key(own + L"\\ProgID")[L""] = c.versioned;
        key(own + L"\\VersionIndependentProgID")[L""] = c.clsidIndependent;
        key(own + L"\\InprocServer32")[L""] = dll;
        key(own + L"\\InprocServer32")[L"ThreadingModel"] = L"Both";
        key(own + L"\\TypeLib")[L""] = TextOf(LIBID_TavloLib);
    }
    return expected;
}

std::wstring RegisteredAppId(const RegistrySnapshot& classes)
{
    const auto application = classes.find(L"appid\\tavlo.dll");
    return application != classes.end() && application->second.count(L"AppID") != 0
               ? application->second.at(L"AppID")
               : std::wstring();
}

RegistrySnapshot TakePlatformKeys(RegistrySnapshot& keys)
{
    RegistrySnapshot taken;
    for (auto entry = keys.begin(); entry != keys.end();) {
        const bool belongs = StartsWith(entry->first, L"typelib") || StartsWith(entry->first, L"interface") ||
                             StartsWith(entry->first, L"wow6432node");
        if (belongs)
            taken.insert(*entry);
        entry = belongs ? keys.erase(entry) : std::next(entry);
    }
    return taken;
}

DWORD RunRegsvr32(const std::wstring& options, const std::wstring& dll)
{
    std::wstring commandLine = L"regsvr32 /s " + options + L" \"" + dll + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &process) == FALSE)
        return GetLastError();
    WaitForSingleObject(process.hProcess, 120000);
    DWORD code = 99;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

std::string Describe(const RegistrySnapshot& keys)
{
    std::string text;
    for (const auto& [path, values] : keys) {
        text += std::string(path.begin(), path.end()) + "\n";
        for (const auto& [name, value] : values)
            text += "    " + std::string(name.begin(), name.end()) + " = " +
                    std::string(value.begin(), value.end()) + "\n";
    }
    return text;
}
