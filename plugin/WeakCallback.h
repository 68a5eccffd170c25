#pragma once

#include "device/IProvider.h"

#include <memory>
#include <utility>

/// A callback of a provider for threads that are not the module's. It holds a weak reference to the provider, locks it
/// while `operation` runs and does nothing once the provider is gone; a provider that no shared pointer owns must
/// outlive it. No exception leaves it: the host's and the platform's threads could do nothing about it.
template <typename Operation> auto WeakCallback(VynCore::IProvider* provider, Operation operation)
{
    std::weak_ptr<VynCore::IProvider> weak = provider->weak_from_this();
    // Not `expired`: a provider whose last owner is just letting it go was owned all the same.
    const std::weak_ptr<VynCore::IProvider> nobody;
    const bool isOwned = weak.owner_before(nobody) || nobody.owner_before(weak);
    return [weak = std::move(weak), isOwned, operation = std::move(operation)](const auto&... arguments)
    {
        const std::shared_ptr<VynCore::IProvider> alive = weak.lock();
        if (isOwned && !alive)
        {
            return;
        }
        try
        {
            operation(arguments...);
        }
        catch (...)
        {
            return;
        }
    };
}
