// Loaded libraries, through the dynamic linker.
#include <windows.h>

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace
{

/// The library's own file; empty for one of the platform's libraries.
std::string FileOf(const std::wstring& name)
{
    static const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::filesystem::path file = std::filesystem::path(name).replace_extension(".so");
    for (const auto& candidate : {folder / file, folder.parent_path() / "lib" / file})
    {
        if (std::filesystem::exists(candidate))
        {
            return std::filesystem::canonical(candidate);
        }
    }
    return {};
}

bool IsOfThePlatform(std::wstring_view name)
{
    for (const std::wstring_view known :
         {L"kernel32.dll", L"ole32.dll", L"setupapi.dll", L"user32.dll", L"libwinpthread-1.dll", L"libstdc++-6.dll"})
    {
        if (known == name)
        {
            return true;
        }
    }
    return false;
}

HMODULE Known(void* library)
{
    return static_cast<HMODULE>(library);
}

/// The program itself, through which everything is found that is global.
HMODULE Program()
{
    static void* const program = dlopen(nullptr, RTLD_NOW);
    return Known(program);
}

/// What the program has loaded. A library that is freed only counts as gone: it stays mapped, so that the places of a
/// leak, which is told at the very end, can be named.
struct Loaded
{
    std::mutex mutex;
    std::map<HMODULE, int> references; // guarded by mutex, as the next
    std::set<HMODULE> pinned;
};

Loaded& TheLoaded()
{
    static auto* const loaded = new Loaded();
    return *loaded;
}

/// With the lock held.
bool IsGone(const Loaded& loaded, HMODULE module)
{
    const auto known = loaded.references.find(module);
    return known != loaded.references.end() && known->second == 0 && loaded.pinned.count(module) == 0;
}

/// A module that is loaded already, with no reference of its own.
HMODULE FindLoaded(const std::string& file)
{
    void* const library = file.empty() ? nullptr : dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
    Loaded& loaded = TheLoaded();
    const std::scoped_lock lock(loaded.mutex);
    if (library == nullptr || IsGone(loaded, Known(library)))
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    return Known(library);
}

} // namespace

HMODULE LoadLibraryW(LPCWSTR name)
{
    const std::string file = FileOf(name);
    void* const library = file.empty() ? nullptr : dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr)
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    Loaded& loaded = TheLoaded();
    const std::scoped_lock lock(loaded.mutex);
    ++loaded.references[Known(library)];
    return Known(library);
}

BOOL FreeLibrary(HMODULE module)
{
    Loaded& loaded = TheLoaded();
    const std::scoped_lock lock(loaded.mutex);
    const auto known = loaded.references.find(module);
    if (known == loaded.references.end() || known->second == 0)
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return FALSE;
    }
    --known->second;
    return TRUE;
}

HMODULE GetModuleHandleW(LPCWSTR name)
{
    return name == nullptr || IsOfThePlatform(name) ? Program() : FindLoaded(FileOf(name));
}

HMODULE GetModuleHandleA(LPCSTR name)
{
    return name == nullptr ? Program() : GetModuleHandleW(std::filesystem::path(name).wstring().c_str());
}

BOOL GetModuleHandleExW(DWORD flags, LPCWSTR address, HMODULE* module)
{
    Dl_info unused;
    link_map* map = nullptr;
    if (dladdr1(address, &unused, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0)
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return FALSE;
    }
    *module = reinterpret_cast<HMODULE>(map);
    if ((flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0)
    {
        Loaded& loaded = TheLoaded();
        const std::scoped_lock lock(loaded.mutex);
        loaded.pinned.insert(*module);
    }
    return TRUE;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name)
{
    void* const found = dlsym(module, name);
    if (found == nullptr)
    {
        SetLastError(ERROR_PROC_NOT_FOUND);
    }
    return reinterpret_cast<FARPROC>(found);
}
