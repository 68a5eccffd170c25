#include "simulator/program/PluginModule.h"

#include <string>
#include <system_error>

namespace sim
{

namespace
{

[[noreturn]] void ThrowLastError(const std::string& what)
{
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

template <typename Function> Function FindExport(HMODULE module, const char* name)
{
    const FARPROC function = GetProcAddress(module, name);
    if (function == nullptr)
    {
        ThrowLastError(std::string("the module has no export ") + name);
    }
    return reinterpret_cast<Function>(reinterpret_cast<void*>(function));
}

HMODULE Load(const std::filesystem::path& file)
{
    const HMODULE module = LoadLibraryW(file.c_str());
    if (module == nullptr)
    {
        ThrowLastError("cannot load " + file.string());
    }
    return module;
}

} // namespace

PluginModule::PluginModule(const std::filesystem::path& file)
    : module_(Load(file)), create_(FindExport<CreateFunction>(module_.get(), "Create_HeadsetAdapterPlugin")),
      destroy_(FindExport<DestroyFunction>(module_.get(), "Destroy_HeadsetAdapterPlugin"))
{
}

} // namespace sim
