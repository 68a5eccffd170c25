#include "simulator/audio/PolicyConfigVisibility.h"

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

HRESULT PolicyConfigVisibility::SetEndpointVisibility(PCWSTR id, INT visible)
{
    const std::string text = "SetEndpointVisibility " + EndpointText(id) + " " + std::to_string(visible);
    EntryFacts facts{.kind = "visibility set",
                     .values = {{"endpoint", EndpointText(id)}, {"visible", std::to_string(visible)}}};
    return TellChange(
        text, std::move(facts),
        [&] { return EnterCall("IPolicyConfigVisibility::SetEndpointVisibility", [&] { return Show(id, visible); }); });
}

HRESULT PolicyConfigVisibility::NotImplemented(int slot)
{
    const std::string text = "IPolicyConfigVisibility::Slot" + std::to_string(slot);
    return TellCall(text, EnterCall(text, [] { return E_NOTIMPL; }));
}

HRESULT PolicyConfigVisibility::Show(PCWSTR id, INT visible)
{
    if (id == nullptr)
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
            model.SetVisible(*endpoint, visible != 0);
            return S_OK;
        });
}

} // namespace sim
