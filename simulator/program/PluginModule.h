#pragma once

#include "device/VynProviderPlugin.h"

#include <windows.h>

#include <filesystem>
#include <memory>
#include <type_traits>

namespace sim
{

/// The module under test, loaded as the host loads it: by its file, through its two exports. Loading it throws
/// std::system_error when it cannot be loaded or lacks an export. Any thread may call it.
class PluginModule
{
public:
    explicit PluginModule(const std::filesystem::path& file);

    HMODULE Handle() const { return module_.get(); }

    /// A new plug-in, to be given back to Destroy; null when the module makes none.
    VynProviderPlugin* Create() const { return create_(); }
    void Destroy(VynProviderPlugin* plugin) const { destroy_(plugin); }

private:
    using CreateFunction = VynProviderPlugin* (*)();
    using DestroyFunction = void (*)(VynProviderPlugin*);

    struct Unload
    {
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };

    std::unique_ptr<std::remove_pointer_t<HMODULE>, Unload> module_;
    CreateFunction create_;
    DestroyFunction destroy_;
};

} // namespace sim
