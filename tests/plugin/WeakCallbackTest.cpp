// Callbacks of providers on threads of others.
#include "plugin/WeakCallback.h"

#include "device/IToolProvider.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;

struct RecordingTool : VynCore::IToolProvider
{
    std::int32_t RunTool(const std::string& argument) override
    {
        calls.push_back(argument);
        if (argument == "throw")
        {
            throw std::runtime_error("tool");
        }
        return 0;
    }

    auto Callback()
    {
        return WeakCallback(this, [this](const std::string& argument) { RunTool(argument); });
    }

    std::vector<std::string> calls;
};

TEST(WeakCallback, RunsWhileTheProviderIsThere)
{
    auto tool = std::make_shared<RecordingTool>();
    const auto callback = tool->Callback();
    EXPECT_EQ(tool.use_count(), 1);
    callback(std::string("first"));
    EXPECT_THAT(tool->calls, ElementsAre("first"));
}

TEST(WeakCallback, DoesNothingOnceTheProviderIsGone)
{
    auto tool = std::make_shared<RecordingTool>();
    bool ran = false;
    const auto callback = WeakCallback(tool.get(), [&ran] { ran = true; });
    tool.reset();
    callback();
    EXPECT_FALSE(ran);
}

TEST(WeakCallback, KeepsTheProviderAliveWhileItRuns)
{
    auto tool = std::make_shared<RecordingTool>();
    const std::weak_ptr<RecordingTool> weak = tool;
    bool alive = false;
    const auto callback = WeakCallback(tool.get(),
                                       [&]
                                       {
                                           tool.reset();
                                           alive = !weak.expired();
                                       });
    callback();
    EXPECT_TRUE(alive);
    EXPECT_TRUE(weak.expired());
}

TEST(WeakCallback, RunsForAProviderWithoutASharedOwner)
{
    RecordingTool tool;
    tool.Callback()(std::string("first"));
    EXPECT_THAT(tool.calls, ElementsAre("first"));
}

/// Makes a callback when it is already going.
struct GoingTool : VynCore::IToolProvider
{
    ~GoingTool() override
    {
        made = WeakCallback(this, [&hasRun = hasRun] { hasRun = true; });
    }

    std::int32_t RunTool(const std::string&) override { return 0; }

    GoingTool(std::function<void()>& callback, bool& flag) : made(callback), hasRun(flag) {}
    std::function<void()>& made;
    bool& hasRun;
};

TEST(WeakCallback, MadeWhileTheLastOwnerLetsGoDoesNothing)
{
    std::function<void()> made;
    bool hasRun = false;
    std::make_shared<GoingTool>(made, hasRun).reset();
    ASSERT_TRUE(made);
    made();
    EXPECT_FALSE(hasRun);
}

TEST(WeakCallback, LetsNoExceptionOut)
{
    RecordingTool tool;
    EXPECT_NO_THROW(tool.Callback()(std::string("throw")));
    EXPECT_THAT(tool.calls, ElementsAre("throw"));
}

} // namespace

} // namespace test
