#pragma once

#include "simulator/timeline/TimelineApi.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace sim
{

/// Which calls of the stand-ins fail, and how. Each stand-in enters every call of its here, under its name (such as
/// "IMMDeviceEnumerator::EnumAudioEndpoints" or "IpcProxy::IpcProxy"), and fails with the answer it gets: an HRESULT
/// for COM calls; for the others any value, which makes them fail in their own way.
///
/// One object for the process. Every operation may be called from any thread.
class SIM_TIMELINE_API FaultPlan
{
public:
    static FaultPlan& Instance();

    /// Lets the `nth` call of that name from now on fail (1 is the next one); 0 lets all of them fail.
    void FailCall(std::string_view call, std::uint32_t nth, std::int32_t result);

    /// Lets every call whose name begins with `prefix` fail; an empty prefix means every call.
    void FailAll(std::string_view prefix, std::int32_t result);

    /// Lets the `nth` call of all calls whose name begins with `prefix` fail, counted from now on.
    void FailNthOf(std::string_view prefix, std::uint32_t nth, std::int32_t result);

    /// Lets the `nth` call of that name from now on throw a std::runtime_error, whose text is the name; 0 lets all of
    /// them throw. The timeline is told, by "fault": "<name> throws". A throwing call does and changes nothing.
    void ThrowFrom(std::string_view call, std::uint32_t nth);

    /// Forgets every fault and every count.
    void Clear();

    /// Calls entered since the last `Clear` whose name begins with `prefix`.
    std::uint32_t Calls(std::string_view prefix) const;

    /// For the stand-ins: counts the call, and gives the result with which it has to fail, if it has to. Throws when the
    /// call has to throw; the stand-in has changed nothing yet, and lets the exception out.
    std::optional<std::int32_t> Enter(std::string_view call);

    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

private:
    struct State;

    FaultPlan();
    ~FaultPlan();

    std::unique_ptr<State> state_;
};

} // namespace sim
