#include "tests/simulator/audio/AudioClient.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <stdexcept>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// How defaults move, and what is reported of it.
class DefaultsTest : public AudioServiceTest
{
protected:
    DefaultsTest() : speaker_(Add("speaker")), headset_(Add("headset")), registered_(std::in_place, client_) {}

    std::vector<std::pair<std::string, std::wstring>> Events() const
    {
        WaitForIdle();
        return client_.Events();
    }

    /// Without the first ones.
    std::vector<std::pair<std::string, std::wstring>> EventsAfter(std::size_t count) const
    {
        const auto events = Events();
        return {events.begin() + static_cast<std::ptrdiff_t>(std::min(count, events.size())), events.end()};
    }

    void Hide(const std::string& label) const { SetVisible(label, 0); }
    void Show(const std::string& label) const { SetVisible(label, 1); }

    HRESULT Choose(const std::string& label, ERole role) const
    {
        return CreatePolicyDefault()->SetDefaultEndpoint(service.Id(label).c_str(), role);
    }

    std::vector<std::string> Defaults(EDataFlow flow = eRender) const
    {
        return {service.Default(flow, eConsole), service.Default(flow, eMultimedia),
                service.Default(flow, eCommunications)};
    }

    const std::wstring speaker_;
    const std::wstring headset_;
    RecordingClient client_;

private:
    void SetVisible(const std::string& label, int visible) const
    {
        EXPECT_EQ(CreatePolicyVisibility()->SetEndpointVisibility(service.Id(label).c_str(), visible), S_OK);
    }

    std::optional<Registered> registered_;
};

TEST_F(DefaultsTest, TheFirstActiveEndpointIsTheDefaultUntilOneIsChosen)
{
    EXPECT_THAT(Defaults(), ElementsAre("speaker", "speaker", "speaker"));
    EXPECT_THAT(Defaults(eCapture), ElementsAre("", "", ""));
    EXPECT_EQ(DefaultId(eRender, eConsole), speaker_);
    EXPECT_EQ(DefaultId(eCapture, eConsole), L"none");
}

TEST_F(DefaultsTest, ChoosingIsReportedForTheRoleAlone)
{
    EXPECT_EQ(Choose("headset", eCommunications), S_OK);
    EXPECT_THAT(Events(), ElementsAre(Pair("default 0 2", headset_)));
    EXPECT_THAT(Defaults(), ElementsAre("speaker", "speaker", "headset"));
}

TEST_F(DefaultsTest, ChoosingWhatIsTheDefaultAlreadyReportsNothing)
{
    EXPECT_EQ(Choose("speaker", eConsole), S_OK);
    EXPECT_EQ(Choose("headset", eConsole), S_OK);
    EXPECT_EQ(Choose("headset", eConsole), S_OK);
    EXPECT_THAT(Events(), ElementsAre(Pair("default 0 0", headset_)));
}

TEST_F(DefaultsTest, ARefusedChoiceReportsNothing)
{
    service.SetState("headset", 8);
    WaitForIdle();
    const std::size_t before = client_.Count();
    EXPECT_EQ(Choose("headset", eConsole), invalidatedResult);
    EXPECT_EQ(Events().size(), before);
}

TEST_F(DefaultsTest, HidingReportsTheStateOnceThenEachRoleThatMoves)
{
    service.SetDefault("headset");
    WaitForIdle();
    const std::size_t before = client_.Count();
    EXPECT_EQ(before, 3U);
    Hide("headset");
    EXPECT_THAT(EventsAfter(before), ElementsAre(Pair("state 2", headset_), Pair("default 0 0", speaker_),
                                                 Pair("default 0 1", speaker_), Pair("default 0 2", speaker_)));
}

TEST_F(DefaultsTest, HidingMovesOnlyTheRolesThatTheEndpointHas)
{
    Choose("headset", eConsole);
    Hide("headset");
    EXPECT_THAT(Events(),
                ElementsAre(Pair("default 0 0", headset_), Pair("state 2", headset_), Pair("default 0 0", speaker_)));
}

TEST_F(DefaultsTest, HidingWhatIsHiddenReportsNothing)
{
    Hide("headset");
    Hide("headset");
    EXPECT_THAT(Events(), ElementsAre(Pair("state 2", headset_)));
}

TEST_F(DefaultsTest, ShowingMovesTheDefaultsBackToWhatWasChosen)
{
    Choose("headset", eConsole);
    Hide("headset");
    Show("headset");
    EXPECT_THAT(Defaults(), ElementsAre("headset", "speaker", "speaker"));
    EXPECT_THAT(Events(),
                ElementsAre(Pair("default 0 0", headset_), Pair("state 2", headset_), Pair("default 0 0", speaker_),
                            Pair("state 1", headset_), Pair("default 0 0", headset_)));
}

TEST_F(DefaultsTest, ShowingMovesNothingThatWasNotChosen)
{
    Hide("headset");
    Show("headset");
    EXPECT_THAT(Events(), ElementsAre(Pair("state 2", headset_), Pair("state 1", headset_)));
}

TEST_F(DefaultsTest, TheChoiceBeforeCountsWhenTheLastIsAway)
{
    Add("third");
    service.SetDefault("headset", eConsole);
    service.SetDefault("third", eConsole);
    Hide("third");
    EXPECT_EQ(service.Default(eRender, eConsole), "headset");
    Hide("headset");
    EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
    Show("third");
    EXPECT_EQ(service.Default(eRender, eConsole), "third");
}

TEST_F(DefaultsTest, ChoosingTheDefaultAgainMakesItTheLastChoice)
{
    service.SetDefault("headset", eConsole);
    Hide("headset");
    Choose("speaker", eConsole);
    Show("headset");
    EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
}

TEST_F(DefaultsTest, WithNoActiveEndpointNullIsReportedForEachRole)
{
    Hide("headset");
    Hide("speaker");
    EXPECT_THAT(Events(),
                ElementsAre(Pair("state 2", headset_), Pair("state 2", speaker_), Pair("default 0 0", L"(null)"),
                            Pair("default 0 1", L"(null)"), Pair("default 0 2", L"(null)")));
    EXPECT_EQ(DefaultId(eRender, eConsole), L"none");
    EXPECT_EQ(Told("notify").at(2), "OnDefaultDeviceChanged render 0 null");
}

TEST_F(DefaultsTest, TheFlowsDoNotMix)
{
    const std::wstring microphone = Add("microphone", eCapture);
    Hide("speaker");
    EXPECT_THAT(Defaults(eCapture), ElementsAre("microphone", "microphone", "microphone"));
    EXPECT_THAT(Events(),
                ElementsAre(Pair("added", microphone), Pair("state 1", microphone), Pair("default 1 0", microphone),
                            Pair("default 1 1", microphone), Pair("default 1 2", microphone), Pair("state 2", speaker_),
                            Pair("default 0 0", headset_), Pair("default 0 1", headset_),
                            Pair("default 0 2", headset_)));
}

TEST_F(DefaultsTest, RemovalMovesTheDefaultsAndTheChoiceIsForgotten)
{
    service.SetDefault("headset", eConsole);
    const std::wstring id = service.Id("headset");
    service.RemoveEndpoint("headset");
    EXPECT_THAT(Events(),
                ElementsAre(Pair("default 0 0", headset_), Pair("removed", headset_), Pair("default 0 0", speaker_)));
    service.AddEndpoint({.label = "headset", .id = id});
    EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
}

TEST_F(DefaultsTest, EveryWayOfGoingAwayMovesTheDefault)
{
    service.SetDefault("headset", eConsole);
    for (const DWORD state : {2U, 4U, 8U})
    {
        service.SetState("headset", state);
        EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
        service.SetState("headset", 1);
        EXPECT_EQ(service.Default(eRender, eConsole), "headset");
    }
}

TEST_F(DefaultsTest, OnlyAnActiveEndpointCanBeChosenInTheSettings)
{
    service.SetState("headset", 4);
    EXPECT_THROW(service.SetDefault("headset"), std::invalid_argument);
    EXPECT_THROW(service.SetDefault("nobody"), std::invalid_argument);
}

TEST_F(DefaultsTest, TheFirstWithoutEndpointsIsReportedWhenItComes)
{
    service.RemoveEndpoint("speaker");
    service.RemoveEndpoint("headset");
    WaitForIdle();
    const std::size_t before = client_.Count();
    const std::wstring late = Add("late");
    EXPECT_THAT(EventsAfter(before), ElementsAre(Pair("added", late), Pair("state 1", late), Pair("default 0 0", late),
                                                 Pair("default 0 1", late), Pair("default 0 2", late)));
}

TEST_F(DefaultsTest, AReportCanBeMadeUp)
{
    service.NotifyDefaultDeviceChanged(eCapture, eMultimedia, "headset");
    service.NotifyDefaultDeviceChanged(eRender, eCommunications, "");
    service.NotifyDeviceStateChanged("headset", 16);
    service.NotifyDeviceStateChanged("", 1);
    EXPECT_THAT(Events(), ElementsAre(Pair("default 1 1", headset_), Pair("default 0 2", L"(null)"),
                                      Pair("state 16", headset_), Pair("state 1", L"(null)")));
    EXPECT_THAT(Defaults(), ElementsAre("speaker", "speaker", "speaker"));
    EXPECT_THAT(Told("notify"),
                ElementsAre("OnDefaultDeviceChanged capture 1 headset", "OnDefaultDeviceChanged render 2 null",
                            "OnDeviceStateChanged headset 16", "OnDeviceStateChanged null 1"));
}

TEST_F(DefaultsTest, ItCanBeWaitedForADefault)
{
    EXPECT_TRUE(service.WaitForDefault(eRender, eConsole, "speaker", longWait));
    EXPECT_FALSE(service.WaitForDefault(eRender, eConsole, "headset", 10ms));
    EXPECT_TRUE(service.WaitForDefault(eCapture, eConsole, "", longWait));
    EXPECT_THAT(Events(), IsEmpty());
}

} // namespace
