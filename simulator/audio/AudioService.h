#pragma once

#include "simulator/audio/AudioApi.h"
#include "simulator/audio/EndpointOptions.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim
{

/// How notifications reach the clients.
enum class Delivery
{
    InTurn,     // one after another, on one thread of the service, in the order of the changes
    Concurrent, // on several threads of the service at once, in any order
};

/// What COM is on the threads that deliver notifications.
enum class NotificationApartment
{
    None,          // COM is not initialised there
    Multithreaded, // they have entered the multithreaded apartment
};

/// What a class factory answers.
enum class Creation
{
    Usual,
    SuccessWithoutObject, // S_OK and a null pointer
    FailureWithObject,    // E_FAIL, and an object all the same. CoCreateInstance itself forgets such an object, which
                          // then stays counted; CreateServiceObject passes it on.
};

/// The Windows audio service of this process, as scenarios and tests control it. Clients see it through COM: the
/// program's manifest registers the classes of this DLL (CMake: use_simulated_audio_service).
///
/// Endpoints are named by their labels. An operation that is given an unknown label, or one that exists already, throws
/// std::invalid_argument. Changes are reported to the registered clients as those that clients make.
///
/// Defaults. For each flow and role the service remembers which endpoints were chosen (by SetDefaultEndpoint or
/// SetDefault), the latest first. The default is the first of them that is active; else the first active endpoint of
/// that flow in the order of adding; else there is none. So a default moves away when its endpoint is hidden, and back
/// when it is shown again. Each change of a default is reported once for each role, after the change that caused it.
///
/// Timeline, told by "audio": calls that create, change or register something, when they end; with SetVerbose all
/// others too; and each change of a volume, whoever makes it, as it happens: "Volume <label> <old> -> <new>". Told by
/// "notify": each notification, right before a client is called; with SetVerbose also its return.
///
/// Faults: every call but AddRef and Release is entered in the FaultPlan as "<interface>::<method>", such as
/// "IMMDevice::GetId" or "IPolicyConfigDefault::SetDefaultEndpoint", creations as "CoCreateInstance::MMDeviceEnumerator",
/// "CoCreateInstance::PolicyConfigDefault" and "CoCreateInstance::PolicyConfigVisibility".
///
/// One object for the process; it lives as long as the process. Every operation may be called from any thread, also from
/// within a notification, except where it says otherwise.
class SIM_AUDIO_API AudioService
{
public:
    static AudioService& Instance();

    // --- endpoints ---

    /// Adds an endpoint and returns its id. Reported as added, then with its state.
    std::wstring AddEndpoint(const EndpointOptions& options);
    /// Removes an endpoint for good; objects that clients still have of it answer with failures.
    void RemoveEndpoint(std::string_view label);

    void SetPresent(std::string_view label, bool present);
    void SetPlugged(std::string_view label, bool plugged);
    void SetVisible(std::string_view label, bool visible);
    /// Sets the three flags so that the endpoint gets that DEVICE_STATE_... value.
    void SetState(std::string_view label, DWORD state);
    /// An empty name takes the value away.
    void SetFriendlyName(std::string_view label, std::wstring_view name);
    void SetContainerId(std::string_view label, const std::optional<GUID>& containerId);

    bool HasEndpoint(std::string_view label) const;
    std::vector<std::string> Labels() const; // in the order of adding
    std::wstring Id(std::string_view label) const;
    DWORD State(std::string_view label) const; // DEVICE_STATE_...

    /// Waits until the endpoint exists and has that state. False when `limit` has passed before.
    bool WaitForState(std::string_view label, DWORD state, std::chrono::milliseconds limit) const;

    // --- defaults ---

    /// What the user does in the sound settings: chooses an active endpoint for one role, or for all.
    void SetDefault(std::string_view label, ERole role);
    void SetDefault(std::string_view label);
    /// The label of the default endpoint; empty when there is none.
    std::string Default(EDataFlow flow, ERole role) const;
    /// Waits until that is the default. False when `limit` has passed before.
    bool WaitForDefault(EDataFlow flow, ERole role, std::string_view label, std::chrono::milliseconds limit) const;

    // --- volume ---

    float Volume(std::string_view label) const;
    /// What the user does with the slider. Any level is taken, also one that no client could set.
    void SetVolume(std::string_view label, float volume);
    /// What the shell does on a volume key: adds `step` to the level of the default render endpoint of the console role,
    /// within 0 and 1. False when there is no such endpoint.
    bool StepDefaultVolume(float step);
    /// Waits until the endpoint exists and its level is within `tolerance` of that. False when `limit` has passed before.
    bool WaitForVolume(std::string_view label, float volume, float tolerance, std::chrono::milliseconds limit) const;
    bool Muted(std::string_view label) const;
    void SetMuted(std::string_view label, bool muted);
    /// The event context of the last volume or mute change that a client made; none when it gave a null pointer or there
    /// was no such change.
    std::optional<GUID> LastVolumeContext(std::string_view label) const;

    // --- headsets ---

    void ConnectHeadset(const HeadsetOptions& options);
    /// Its endpoints are no longer present; what of it was still to appear does not appear.
    void DisconnectHeadset(std::string_view address);
    /// As DisconnectHeadset, but its endpoints are removed.
    void RemoveHeadset(std::string_view address);

    // --- notifications ---

    /// For the notifications from now on. Waits until those before are delivered; hence not from within a notification.
    void SetDelivery(Delivery delivery, NotificationApartment apartment = NotificationApartment::None);
    /// Whether registering a client takes a reference on it, which unregistering gives back. At first it does not.
    void SetRegisterTakesReference(bool takes);
    /// Waits until every notification so far is delivered and its client has returned. False when `limit` has passed
    /// before. Not from within a notification.
    bool WaitForIdle(std::chrono::milliseconds limit) const;
    /// Registrations at present.
    std::size_t RegisteredClients() const;

    /// Reports something to all clients that is not so, or not any more. An empty label gives the id null.
    void NotifyDefaultDeviceChanged(EDataFlow flow, ERole role, std::string_view label);
    void NotifyDeviceStateChanged(std::string_view label, DWORD state);

    // --- faults and accounts ---

    /// What the factory of "MMDeviceEnumerator", "PolicyConfigDefault" or "PolicyConfigVisibility" answers from now on.
    void SetCreation(std::string_view className, Creation creation);
    /// Whether reading calls are told to the timeline too.
    void SetVerbose(bool verbose);

    /// Objects that clients have, by class ("MMDeviceEnumerator", "MMDevice", ...); classes without any are left out.
    /// Class factories are not counted, since COM keeps them.
    std::map<std::string, std::size_t> LiveObjects() const;
    /// The references on them.
    std::map<std::string, std::size_t> LiveReferences() const;
    /// Pieces of memory that the service gave out (ids, property values) and that CoTaskMemFree did not get back yet.
    std::size_t LiveMemory() const;

    /// One line for each endpoint: label, flow, state, volume, and the roles for which it is the default.
    std::string Dump() const;

    /// Back to the state at the start: no endpoints, no registrations, nothing to appear, no switches set; what clients
    /// have stays theirs and stays counted. Waits for notifications; hence not from within one.
    void Reset();

    AudioService(const AudioService&) = delete;
    AudioService& operator=(const AudioService&) = delete;

private:
    AudioService();
    ~AudioService();
};

/// Creates an object of one of the service's classes as CoCreateInstance does, but passes on what the factory answers
/// just as it is: also an object that comes with a failure. To be put in the place of
/// CoCreateInstance in the import table of a module under test.
SIM_AUDIO_API HRESULT STDAPICALLTYPE CreateServiceObject(REFCLSID classId, IUnknown* outer, DWORD context, REFIID riid,
                                                         void** object);

} // namespace sim
