#include "tests/component/server/registry_snapshot.h"

#include <algorithm>
#include <array>
#include <cwctype>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

struct KeyCloser
{
    void operator()(HKEY key) const noexcept { RegCloseKey(key); }
};

using UniqueKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

void Collect(HKEY parent, const std::wstring& name, const std::wstring& path, RegistrySnapshot& snapshot)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
        return;
    const UniqueKey key(opened);
    auto& values = snapshot[path];

    std::vector<wchar_t> text(16384);
    std::vector<BYTE> data(65536);
    for (DWORD i = 0;; ++i) {
        DWORD textLength = static_cast<DWORD>(text.size());
        DWORD dataLength = static_cast<DWORD>(data.size() - 2);
        DWORD type = 0;
        const LSTATUS status =
            RegEnumValueW(key.get(), i, text.data(), &textLength, nullptr, &type, data.data(), &dataLength);
        if (status != ERROR_SUCCESS)
            break;
        const bool isText = type == REG_SZ || type == REG_EXPAND_SZ;
        data[dataLength] = data[dataLength + 1] = 0;
        values[{text.data(), textLength}] = isText
                                                ? std::wstring(reinterpret_cast<const wchar_t*>(data.data()))
                                                : std::to_wstring(dataLength);
    }
    for (DWORD i = 0;; ++i) {
        DWORD length = static_cast<DWORD>(text.size());
        if (RegEnumKeyExW(key.get(), i, text.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        const std::wstring child(text.data(), length);
        Collect(key.get(), child, LowerCase(path.empty() ? child : path + L'\\' + child), snapshot);
    }
}

} // namespace

std::wstring LowerCase(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](wchar_t c) { return static_cast<wchar_t>(towlower(c)); });
    return text;
}

RegistrySnapshot TakeSnapshot(HKEY root, const std::wstring& path)
{
    RegistrySnapshot snapshot;
    Collect(root, path, L"", snapshot);
    return snapshot;
}

RegistrySnapshot Added(const RegistrySnapshot& before, const RegistrySnapshot& after)
{
    RegistrySnapshot added;
    for (const auto& [path, values] : after) {
        const auto old = before.find(path);
        if (old == before.end() || old->second != values)
            added[path] = values;
    }
    return added;
}
