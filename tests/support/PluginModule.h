#pragma once

#include "device/VynProviderPlugin.h"

#include <windows.h>

#include <string>

namespace test
{

/// The shipped module, loaded as the host loads it. The object frees its reference when it goes; the module stays mapped
/// nevertheless once it has pinned itself.
class PluginModule
{
public:
    /// Loads the module and finds both entry points. Throws std::runtime_error when that fails.
    explicit PluginModule(const std::wstring& path = L"HeadsetAdapterPlugin.dll");
    ~PluginModule();

    HMODULE Handle() const { return module_; }
    VynProviderPlugin* Create() const { return create_(); }
    void Destroy(VynProviderPlugin* plugin) const { destroy_(plugin); }

    PluginModule(const PluginModule&) = delete;
    PluginModule& operator=(const PluginModule&) = delete;

private:
    HMODULE module_;
    VynProviderPlugin* (*create_)();
    void (*destroy_)(VynProviderPlugin*);
};

/// A plug-in object of the module. It is handed back at the end; what it has registered or started stays, as with a host
/// that forgets to stop it.
class Plugin
{
public:
    explicit Plugin(const PluginModule& module) : module_(module), plugin_(module.Create()) {}
    ~Plugin() { module_.Destroy(plugin_); }

    VynProviderPlugin* Get() const { return plugin_; }
    VynProviderPlugin* operator->() const { return plugin_; }

    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

private:
    const PluginModule& module_;
    VynProviderPlugin* plugin_;
};

} // namespace test
