#include "tests/component/replaced_import.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace {

/// What lies at an address that is relative to this program's base.
template <class T>
T* At(ULONGLONG address)
{
    return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr)) + address);
}

} // namespace

std::vector<void**> ImportSlots(const char* name)
{
    const auto* headers =
        At<const IMAGE_NT_HEADERS>(static_cast<ULONGLONG>(At<const IMAGE_DOS_HEADER>(0)->e_lfanew));
    const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<void**> slots;
    for (const auto* library = At<const IMAGE_IMPORT_DESCRIPTOR>(imports.VirtualAddress); library->Name != 0;
         ++library) {
        const auto* imported = At<const IMAGE_THUNK_DATA>(library->OriginalFirstThunk);
        auto** slot = At<void*>(library->FirstThunk);
        for (; imported->u1.AddressOfData != 0; ++imported, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(imported->u1.Ordinal))
                continue;
            const auto* entry = At<const IMAGE_IMPORT_BY_NAME>(imported->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(entry->Name), name) == 0)
                slots.push_back(slot);
        }
    }
    if (slots.empty())
        throw std::logic_error(std::string(name) + " is not imported");
    return slots;
}

void SetImportSlot(void** slot, void* function)
{
    DWORD protection = 0;
    VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
    *slot = function;
    VirtualProtect(slot, sizeof(*slot), protection, &protection);
}
