#pragma once

#include <windows.h>

#include <vector>

/// The slots of this program's import tables that a platform function is called through.
std::vector<void**> ImportSlots(const char* name);

/// Writes to a slot of an import table, which need not be writable.
void SetImportSlot(void** slot, void* function);

/// Puts a function in the place of a platform function that this program imports, for as
/// long as the object lives. Every call in the program goes there, from any thread.
template <class Function>
class ReplacedImport
{
public:
    ReplacedImport(const char* name, Function* replacement) : slots_(ImportSlots(name))
    {
        original_ = *slots_.front();
        for (void** slot : slots_)
            SetImportSlot(slot, reinterpret_cast<void*>(replacement));
    }

    ~ReplacedImport()
    {
        for (void** slot : slots_)
            SetImportSlot(slot, original_);
    }

    ReplacedImport(const ReplacedImport&) = delete;
    ReplacedImport& operator=(const ReplacedImport&) = delete;

    Function* Original() const noexcept { return reinterpret_cast<Function*>(original_); }

private:
    std::vector<void**> slots_;
    void* original_ = nullptr;
};
