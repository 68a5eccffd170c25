#pragma once

#include "simulator/host/tips/TipsControl.h"

#include <mutex>
#include <optional>

namespace sim
{

/// How the tips library behaves. One object for the process, used by any thread.
struct TipSwitches
{
    static TipSwitches& Instance()
    {
        // Never destroyed: threads of the module may still use the library while the process ends.
        static TipSwitches* const instance = new TipSwitches();
        return *instance;
    }

    template <typename Value> Value Get(Value TipSwitches::*field)
    {
        const std::scoped_lock lock(mutex);
        return this->*field;
    }

    template <typename Value> void Set(Value TipSwitches::*field, Value value)
    {
        const std::scoped_lock lock(mutex);
        this->*field = std::move(value);
    }

    std::mutex mutex; // guards the fields below
    bool managerMissing = false;
    bool createFails = false;
    std::optional<TipReply> answerInsideShow;
    TipsControl::ShownHook shownHook;
};

} // namespace sim
