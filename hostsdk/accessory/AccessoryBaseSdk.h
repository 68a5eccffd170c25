// The host's accessory base library, as the module sees it.
#pragma once

#include <string>

#ifndef ACCESSORY_BASE_API
#define ACCESSORY_BASE_API __declspec(dllimport)
#endif

/// Stateless helpers for accessories. Any thread may call them.
class ACCESSORY_BASE_API AccessoryBaseSdk
{
public:
    AccessoryBaseSdk() = delete;

    /// The shortened display form of an address, id or serial text, fit for a log line: a whole address is never
    /// logged. An empty text gives an empty text. The exact form is the host's.
    static std::string GetLastTwoSerialNumber(const std::string& serial);
    static std::wstring GetLastTwoSerialNumber(const std::wstring& serial);
};
