#pragma once

#include "simulator/host/tips/TipsControlApi.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace sim
{

/// How a tip has been set up.
struct TipDescription
{
    std::uint64_t number = 0; // tips are counted from 1, in the order of their creation
    std::int32_t type = 0;
    std::int32_t tipsId = 0;
    const void* owner = nullptr;
    std::int32_t priority = 0;
    std::wstring icon{};
    std::wstring title{};
    std::wstring content{};
    std::wstring firstButton{};
    std::wstring secondButton{};
    bool autoClose = false;
    bool toNotificationCenter = false;
    std::uint64_t closeDelayMs = 0;
    bool hasCallback = false;
};

/// What a tip's callback is called with.
struct TipReply
{
    std::int32_t event = 9; // 9: a button was clicked
    std::wstring param = L"secondBtn";
};

/// The user in front of the tips, and what can go wrong with them.
///
/// The library has two threads of its own, made when they are needed and there to the end of the process: the tips
/// thread, which delivers answers one after another, and the tips clock, which closes shown tips whose delay is over, also
/// while an answer is under way. No lock of the library is held while a callback runs or is destroyed.
///
/// Timeline, told by "tips": every call of the module, such as `SetTitleTxt "Headset audio"`, `Show` or `CloseTips` (also
/// `Show in place of a tip`, `Show of no tip` and `CloseTips of no tip`); `auto-closed`, when a tip is gone after its
/// delay; around each callback `reply 9 "secondBtn"` and `reply 9 "secondBtn" returned` (or `threw`);
/// `reply 9 "secondBtn" to no tip` for an answer whose tip has gone before it was delivered, and `... to no callback`
/// for a tip that has none.
///
/// Faults: calls are entered in the FaultPlan as "OrbTipsManager::CreateTips", "TipsBase::SetTitleTxt" and
/// "TipsPopUpWnd::SetContentTxt" and so on. Failing ones give null or false, or do nothing.
///
/// One object for the process. Every operation may be called from any thread; those that wait not from a callback.
class SIM_TIPS_API TipsControl
{
public:
    using ShownHook = std::function<void(const TipDescription&)>;

    TipsControl() = delete;

    // --- what there is ---

    /// The tip that was shown last, unless it has been closed.
    static std::optional<TipDescription> Showing();
    /// Waits until a tip is showing. None when `limit` has passed before.
    static std::optional<TipDescription> WaitForShowing(std::chrono::milliseconds limit);
    /// Waits until no tip is showing. False when `limit` has passed before.
    static bool WaitForNoneShowing(std::chrono::milliseconds limit);
    /// Tips that have been created and not closed.
    static std::size_t Tips();
    /// Called on the thread that shows a tip, inside Show; an empty hook calls nothing.
    static void SetShownHook(ShownHook hook);

    // --- answers ---

    /// Lets the tips thread answer the tip that is showing, and returns at once: the answer's number, 0 when no tip is
    /// showing. An answer whose tip has gone when its turn comes is dropped.
    static std::uint64_t Answer(const TipReply& reply);
    /// The same for a tip that has been closed: a click that was under way. It takes the callback that was kept last, see
    /// SetKeepsCallbacks; 0 when none was.
    static std::uint64_t AnswerLate(const TipReply& reply);
    /// Waits until the answer's callback has returned, or the answer was dropped. False when `limit` has passed before.
    static bool WaitForAnswer(std::uint64_t number, std::chrono::milliseconds limit);

    /// Answers the tip that is showing on this thread. False when none is showing.
    static bool AnswerHere(const TipReply& reply);

    /// Callbacks that run at this moment, on whichever thread.
    static std::size_t CallbacksInFlight();
    /// Waits until none runs and no answer waits for its turn. False when `limit` has passed before.
    static bool WaitForNoCallback(std::chrono::milliseconds limit);

    // --- what can go wrong ---

    /// Whether OrbTipsManager::GetInstance gives null.
    static void SetManagerMissing(bool missing);
    /// Whether OrbTipsManager::CreateTips gives null.
    static void SetCreateFails(bool fails);
    /// Every tip is answered at once, inside Show, on the thread that shows it; none: no longer.
    static void SetAnswerInsideShow(const std::optional<TipReply>& reply);
    /// Whether the callback of a tip that is closed, by whomever, is kept for AnswerLate. Switching it off forgets it.
    static void SetKeepsCallbacks(bool keeps);
    /// Whether answers call the tip's own callback in place of a copy. CloseTips out of the callback then destroys the
    /// callback that runs, with all that it has captured, and overwrites it and the text that it was called with; a
    /// callback that looks at these afterwards finds rubbish. Closing from another thread still waits for its end to
    /// destroy it.
    static void SetDestroysRunningCallback(bool destroys);

    /// Closes every tip and goes back to the behaviour at the start. Answers that wait for their turn are dropped; one
    /// that is under way goes on.
    static void Reset();
};

} // namespace sim
