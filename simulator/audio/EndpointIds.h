#pragma once

#include <mmdeviceapi.h>

#include <string>
#include <string_view>

namespace sim
{

/// The id of the endpoint that is made as the `number`th (from 1): "{0.0.0.00000000}.{<GUID>}" for eRender,
/// "{0.0.1.00000000}.{<GUID>}" for eCapture.
std::wstring MakeEndpointId(EDataFlow flow, unsigned number);

bool LooksLikeEndpointId(std::wstring_view id);

/// For the timeline: the label of the endpoint with that id; the id itself when there is none; "null" for null.
std::string EndpointText(const wchar_t* id);

bool IsRole(ERole role);

} // namespace sim
