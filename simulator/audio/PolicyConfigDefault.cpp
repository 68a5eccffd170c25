#include "simulator/audio/PolicyConfigDefault.h"

#include "simulator/audio/AudioIdentifiers.h"
#include "simulator/audio/ComCall.h"
#include "simulator/audio/EndpointIds.h"
#include "simulator/audio/EndpointModel.h"
#include "simulator/audio/ServiceCore.h"
#include "simulator/timeline/Timeline.h"

#include <string>
#include <utility>

namespace sim
{

HRESULT PolicyConfigDefault::SetDefaultEndpoint(PCWSTR id, ERole role)
{
    const std::string text = "SetDefaultEndpoint " + EndpointText(id) + " " + std::to_string(role);
    EntryFacts facts{.kind = "default set", .values = {{"endpoint", EndpointText(id)}, {"role", std::to_string(role)}}};
    return TellChange(
        text, std::move(facts),
        [&] { return EnterCall("IPolicyConfigDefault::SetDefaultEndpoint", [&] { return Choose(id, role); }); });
}

HRESULT PolicyConfigDefault::NotImplemented(int slot)
{
    const std::string text = "IPolicyConfigDefault::Slot" + std::to_string(slot);
    return TellCall(text, EnterCall(text, [] { return E_NOTIMPL; }));
}

HRESULT PolicyConfigDefault::Choose(PCWSTR id, ERole role)
{
    if (id == nullptr || !IsRole(role))
    {
        return E_INVALIDARG;
    }
    return ServiceCore::Instance().Change(
        [&](EndpointModel& model)
        {
            const EndpointPointer endpoint = model.ById(id);
            if (!endpoint)
            {
                return LooksLikeEndpointId(id) ? notFound : E_INVALIDARG;
            }
            if (endpoint->State() != DEVICE_STATE_ACTIVE)
            {
                return deviceInvalidated;
            }
            model.Choose(endpoint, role);
            return S_OK;
        });
}

} // namespace sim
