#pragma once

#include "device/IpcProxy.h"

#include <cstdint>
#include <memory>

/// A new IPC proxy for a client id; null when the host's library cannot make one.
inline std::shared_ptr<VynCore::IpcProxy> MakeIpcProxy(std::int32_t clientId)
{
    try
    {
        return std::make_shared<VynCore::IpcProxy>(clientId);
    }
    catch (...)
    {
        return nullptr;
    }
}
