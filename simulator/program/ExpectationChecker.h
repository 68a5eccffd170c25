#pragma once

#include "simulator/program/ComputerAudio.h"
#include "simulator/program/HostSide.h"
#include "simulator/program/World.h"
#include "simulator/program/scenario/Statement.h"

#include <cstddef>
#include <vector>

namespace sim
{

/// Checks expectations, and waits for what is expected. Used by the main thread.
class ExpectationChecker
{
public:
    ExpectationChecker(const HostSide& host, const World& world, const ComputerAudio& audio)
        : host_(host), world_(world), audio_(audio)
    {
    }

    /// An action begins: expectations from now on look at what happens from here.
    void ActionBegins();
    void ActionTook(scenario::Milliseconds time) { lastActionTook_ = time; }

    /// Throws ScenarioFailure, which says what is there instead, when the expectation does not hold in time. What must
    /// never happen is noted for CheckAtEnd.
    void Check(const scenario::Expectation& expectation);

    void CheckAtEnd() const;

private:
    void Examine(const scenario::ExpectEvents& expectation) const;
    void Examine(const scenario::ExpectCount& expectation) const;
    void Examine(const scenario::ExpectNever& expectation) { never_.push_back(expectation.event); }
    void Examine(const scenario::ExpectDefault& expectation) const;
    void Examine(const scenario::ExpectEndpoint& expectation) const;
    void Examine(const scenario::ExpectFeature& expectation) const;
    static void Examine(const scenario::ExpectTip& expectation);
    static void Examine(const scenario::ExpectNoTip& expectation);
    void Examine(const scenario::ExpectVolume& expectation) const;
    void Examine(const scenario::ExpectTook& expectation) const;

    std::size_t EventsInOrder(const std::vector<scenario::Event>& events) const;
    std::size_t Count(const scenario::Event& event) const;

    const HostSide& host_;
    const World& world_;
    const ComputerAudio& audio_;
    std::size_t actionBegin_ = 0; // entries of the timeline before the last action
    scenario::Milliseconds lastActionTook_{0};
    std::vector<scenario::Event> never_;
};

} // namespace sim
