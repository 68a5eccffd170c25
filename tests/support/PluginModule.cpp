#include "tests/support/PluginModule.h"

#include <stdexcept>

namespace test
{

namespace
{

HMODULE Load(const std::wstring& path)
{
    const HMODULE module = LoadLibraryW(path.c_str());
    if (module == nullptr)
    {
        throw std::runtime_error("the module cannot be loaded, error " + std::to_string(GetLastError()));
    }
    return module;
}

template <typename Function> Function* Find(HMODULE module, const char* name)
{
    const FARPROC found = GetProcAddress(module, name);
    if (found == nullptr)
    {
        throw std::runtime_error(std::string("the module does not export ") + name);
    }
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
}

} // namespace

PluginModule::PluginModule(const std::wstring& path)
    : module_(Load(path)), create_(Find<VynProviderPlugin*()>(module_, "Create_HeadsetAdapterPlugin")),
      destroy_(Find<void(VynProviderPlugin*)>(module_, "Destroy_HeadsetAdapterPlugin"))
{
}

PluginModule::~PluginModule()
{
    FreeLibrary(module_);
}

} // namespace test
