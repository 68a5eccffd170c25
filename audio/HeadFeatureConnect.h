#pragma once

#include "audio/EndpointRecord.h"

#include <windows.h>

#include <propsys.h>

#include <string>

/// Look-ups in the platform's audio endpoints and Bluetooth device nodes. No state: any thread may call them, in any
/// apartment or in none. None of them reports failures but through its result.
class HeadFeatureConnect
{
public:
    HeadFeatureConnect() = delete;

    /// Reads the headset key, the Bluetooth address in decimal digits, out of a Bluetooth device node's hardware id, such
    /// as BTHENUM\Dev_0A1B2C3D4E5F. Returns whether the id names a device; `macKey` is written only then.
    static bool SetInterceptedMac(const std::wstring& hardwareId, std::string& macKey);

    /// The key of the headset whose present Bluetooth device node has that container id; empty when there is none.
    /// `containerIdText` is in braces, in upper case.
    static std::string GetGUIDBluetoothMac(const std::wstring& containerIdText);

    /// Fills a record's container id, headset key and type from its endpoint's properties; the record's flow and
    /// friendly name must be filled. `hr` receives the result of reading the container id.
    static void GetEndPointTypeAndMac(HRESULT& hr, IPropertyStore* propertyStore, EndpointRecord& record);

    /// Replaces `endpoints` by the endpoints that are active, disabled or unplugged; by none when the platform does
    /// not tell. The caller holds the endpoint lock.
    static void GetEndPointNameList(EndpointList& endpoints);

    /// The default render endpoints of the console and communications roles, or none when one of them is missing.
    /// Takes the endpoint lock.
    static DefaultSet GetDefaultEndPointName();
};
