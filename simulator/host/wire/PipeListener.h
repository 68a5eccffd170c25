#pragma once

#include "simulator/host/wire/Handle.h"

#include <string>
#include <string_view>

namespace sim
{

/// The service's end of a bus: the pipe's instances, each of which serves one client.
///
/// Threads: `Accept` is for one thread, `Close` for any.
class PipeListener
{
public:
    /// Throws std::runtime_error when the bus has a listener already.
    explicit PipeListener(std::string_view bus);

    /// Waits for a client and gives its instance; another instance is there for the next client when it returns.
    /// Null after `Close`; then the bus is free.
    Handle Accept();

    void Close();

    PipeListener(const PipeListener&) = delete;
    PipeListener& operator=(const PipeListener&) = delete;

private:
    Handle MakeInstance() const;
    bool WaitForClient();

    Handle claim_; // what only one listener of a bus has; of the accepting thread
    const std::wstring path_;
    const Handle closed_ = MakeEvent();
    const Handle connected_ = MakeEvent();
    Handle listening_; // of the accepting thread
};

} // namespace sim
