#pragma once

#include <windows.h>

#include <cstddef>
#include <string_view>

namespace sim
{

/// Copies for clients, which give them to CoTaskMemFree. Null when there is no memory.
wchar_t* CopyText(std::wstring_view text);
GUID* CopyGuid(const GUID& guid);

/// How many of these copies CoTaskMemFree did not get back yet.
std::size_t LiveTaskMemory();

} // namespace sim
