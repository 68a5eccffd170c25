// Where a module keeps the addresses of its imported functions: here in its global offset table, which the dynamic linker
// fills when it loads the module. The program and its libraries are linked so that it fills them all at once and
// leaves them writable.
#include "simulator/support/ImportSlot.h"

#include <elf.h>
#include <link.h>

#include <atomic>
#include <stdexcept>
#include <string_view>

namespace sim
{

namespace
{

/// The dynamic section of a loaded module.
class Image
{
public:
    explicit Image(HMODULE module)
        : map_(reinterpret_cast<const link_map*>(module != nullptr ? module : GetModuleHandleW(nullptr)))
    {
    }

    void** FindSlot(const std::string& function) const
    {
        void** const slot = FindIn(DT_JMPREL, DT_PLTRELSZ, function);
        return slot != nullptr ? slot : FindIn(DT_RELA, DT_RELASZ, function);
    }

private:
    ElfW(Addr) Entry(ElfW(Sxword) tag) const
    {
        for (const ElfW(Dyn)* entry = map_->l_ld; entry->d_tag != DT_NULL; ++entry)
        {
            if (entry->d_tag == tag)
            {
                return entry->d_un.d_ptr;
            }
        }
        return 0;
    }

    void** FindIn(ElfW(Sxword) table, ElfW(Sxword) size, const std::string& function) const
    {
        const auto* const symbols = reinterpret_cast<const ElfW(Sym)*>(Entry(DT_SYMTAB));
        const auto* const names = reinterpret_cast<const char*>(Entry(DT_STRTAB));
        const auto* relocation = reinterpret_cast<const ElfW(Rela)*>(Entry(table));
        for (const auto* const end = relocation + Entry(size) / sizeof(*relocation); relocation != end; ++relocation)
        {
            const auto type = ELF64_R_TYPE(relocation->r_info);
            const ElfW(Sym)& symbol = symbols[ELF64_R_SYM(relocation->r_info)];
            const bool isAddress = type == R_X86_64_JUMP_SLOT || type == R_X86_64_GLOB_DAT;
            if (isAddress && function == names + symbol.st_name)
            {
                return reinterpret_cast<void**>(map_->l_addr + relocation->r_offset);
            }
        }
        return nullptr;
    }

    const link_map* map_;
};

/// On this system a function's library is not written beside its name: only the libraries that tests name are known.
bool IsLibrary(std::string name)
{
    for (char& character : name)
    {
        character = character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    }
    for (const char* const known :
         {"kernel32.dll", "ole32.dll", "setupapi.dll", "user32.dll", "libstdc++-6.dll", "libwinpthread-1.dll",
          "vyndevicesdk.dll", "qvipc.dll", "qvatips.dll", "uistrings.dll", "qvlogger.dll", "accessorybase.dll"})
    {
        if (name == known)
        {
            return true;
        }
    }
    return false;
}

/// A name with the type of sizes in it, which has another letter on the platform.
std::string NameHere(const std::string& function)
{
    constexpr std::string_view operatorNew = "_Znwy";
    return function.starts_with(operatorNew) ? "_Znwm" + function.substr(operatorNew.size()) : function;
}

} // namespace

void** FindImportSlot(HMODULE module, const std::string& dll, const std::string& function)
{
    return IsLibrary(dll) ? Image(module).FindSlot(NameHere(function)) : nullptr;
}

void* ExchangeImport(void** slot, void* value)
{
    return std::atomic_ref(*slot).exchange(value);
}

} // namespace sim
