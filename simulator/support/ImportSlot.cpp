#include "simulator/support/ImportSlot.h"

#include <cstdint>
#include <cstring>
#include <mutex>
#include <stdexcept>

namespace sim
{

namespace
{

/// A loaded module's bytes, addressed as in its headers.
class Image
{
public:
    explicit Image(HMODULE module)
        : base_(reinterpret_cast<std::uint8_t*>(module != nullptr ? module : GetModuleHandleW(nullptr)))
    {
    }

    template <typename Record> Record* At(std::uint64_t offset) const
    {
        return reinterpret_cast<Record*>(base_ + offset);
    }

    const IMAGE_IMPORT_DESCRIPTOR* Imports() const
    {
        const auto* const headers = At<IMAGE_NT_HEADERS>(At<IMAGE_DOS_HEADER>(0)->e_lfanew);
        const DWORD offset = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        return offset == 0 ? nullptr : At<IMAGE_IMPORT_DESCRIPTOR>(offset);
    }

private:
    std::uint8_t* base_;
};

void** FindSlotIn(const Image& image, const IMAGE_IMPORT_DESCRIPTOR& import, const std::string& function)
{
    const auto* name = image.At<IMAGE_THUNK_DATA>(import.OriginalFirstThunk);
    auto* address = image.At<IMAGE_THUNK_DATA>(import.FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++address)
    {
        const bool hasName = !IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal);
        if (hasName && function == image.At<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData)->Name)
        {
            return reinterpret_cast<void**>(&address->u1.Function);
        }
    }
    return nullptr;
}

} // namespace

void** FindImportSlot(HMODULE module, const std::string& dll, const std::string& function)
{
    const Image image(module);
    const IMAGE_IMPORT_DESCRIPTOR* import = image.Imports();
    for (; import != nullptr && import->Name != 0; ++import)
    {
        if (_stricmp(image.At<char>(import->Name), dll.c_str()) == 0)
        {
            if (void** const slot = FindSlotIn(image, *import, function))
            {
                return slot;
            }
        }
    }
    return nullptr;
}

void* ExchangeImport(void** slot, void* value)
{
    static std::mutex mutex; // one change of page protections at a time
    const std::scoped_lock lock(mutex);
    DWORD protection = 0; // the page may be read-only
    if (!VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection))
    {
        throw std::runtime_error("the import table cannot be written");
    }
    void* const before = InterlockedExchangePointer(slot, value);
    VirtualProtect(slot, sizeof(*slot), protection, &protection);
    return before;
}

} // namespace sim
