#include "simulator/program/EndpointLabels.h"
#include "simulator/program/scenario/Statement.h"

#include <gtest/gtest.h>

namespace sim
{

namespace
{

EndpointLabels SomeLabels()
{
    EndpointLabels labels;
    labels.Add(scenario::BuiltIn{"Realtek", false});
    labels.Add(scenario::BuiltIn{"Array", true});
    labels.Add(AudioHeadset{"Buds", "0A1B2C3D4E5F", true});
    return labels;
}

} // namespace

TEST(EndpointLabels, AreToldByTheNamesThatWindowsGives)
{
    const EndpointLabels labels = SomeLabels();
    EXPECT_EQ(labels.LabelOf({L"1", "Speakers (Realtek Audio)", eRender, 1}), "Realtek");
    EXPECT_EQ(labels.LabelOf({L"2", "Headphones (Buds Stereo)", eRender, 1}), "Buds stereo");
    EXPECT_EQ(labels.LabelOf({L"3", "Headset (Buds Hands-Free AG Audio)", eRender, 1}), "Buds hands-free");
    EXPECT_EQ(labels.LabelOf({L"4", "Headset (Buds Hands-Free AG Audio)", eCapture, 1}), "Buds microphone");
    EXPECT_EQ(labels.LabelOf({L"5", "Microphone Array", eCapture, 1}), "Array");
    EXPECT_EQ(labels.LabelOf({L"6", "Monitor", eRender, 1}), "Monitor");
    EXPECT_EQ(labels.LabelOf({L"7", "Line (Realtek Audio)", eCapture, 1}), "Line (Realtek Audio)");
}

TEST(EndpointLabels, MeanAnActiveEndpointBeforeOneOfAnEarlierConnection)
{
    const EndpointLabels labels = SomeLabels();
    const std::vector<SystemEndpoint> endpoints{{L"1", "Headphones (Buds Stereo)", eRender, DEVICE_STATE_NOTPRESENT},
                                                {L"2", "Headphones (Buds Stereo)", eRender, DEVICE_STATE_ACTIVE},
                                                {L"3", "Headphones (Buds Stereo)", eRender, DEVICE_STATE_UNPLUGGED}};
    EXPECT_EQ(labels.Find(endpoints, "Buds stereo")->id, L"2");
    EXPECT_EQ(labels.Find(endpoints, "Buds microphone"), nullptr);
}

} // namespace sim
