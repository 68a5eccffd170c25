#include "audio/ModuleEndpoints.h"

#include "audio/HeadFeatureConnect.h"

ModuleEndpoints& ModuleEndpoints::Instance()
{
    static auto* const instance = new ModuleEndpoints();
    return *instance;
}

void ModuleEndpoints::Fill()
{
    {
        const std::scoped_lock lock(endpointMutex);
        HeadFeatureConnect::GetEndPointNameList(endpointList);
    }
    RefreshDefaultEndPointName();
}

void ModuleEndpoints::RefreshEndPointNameList()
{
    const std::scoped_lock lock(endpointMutex);
    EndpointList fresh;
    HeadFeatureConnect::GetEndPointNameList(fresh);
    if (fresh.empty())
    {
        return;
    }
    // Every known record is overwritten and every vanished one removed: the fresh list is what remains.
    endpointList.swap(fresh);
}

void ModuleEndpoints::RefreshDefaultEndPointName()
{
    const std::scoped_lock lock(defaultSetMutex);
    defaultSet = HeadFeatureConnect::GetDefaultEndPointName();
}
