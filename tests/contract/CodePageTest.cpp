// Names in other alphabets, on computers whose ANSI code page has characters of two bytes.
#include "tests/contract/ContractTest.h"
#include "tests/support/AnsiCodePage.h"

#include <windows.h>

#include <string>

namespace test
{

namespace
{

using testing::ElementsAre;

class CodePages : public ContractTest
{
protected:
    /// What the feature handler logs of a message of its own kind, which has no other effect.
    std::vector<std::string> LinesOfAMove(UINT page, const std::string& from, const std::string& to)
    {
        const AnsiCodePage patched(module.Handle(), page);
        service->SendDeviceChange(99, to, from, "");
        EXPECT_TRUE(WaitFor("ipc", "delivered 12144177 10617848"));
        return Story({"log3", "log4"});
    }
};

TEST_F(CodePages, ChineseNamesAreLoggedWhole)
{
    Start();
    EXPECT_THAT(LinesOfAMove(936, "\xB6\xFA\xBB\xFA", "\xCA\xD6\xBB\xFA"),
                ElementsAre(Line("OnRecvDeviceChange", "SwitchEvType=99"),
                            Line("OnRecvDeviceChange", "strToDevName=\u624B\u673A"),
                            Line("OnRecvDeviceChange", "strDevName=\u8033\u673A")));
}

TEST_F(CodePages, HalvesOfCharactersDoNotCutTheLine)
{
    Start();
    EXPECT_THAT(LinesOfAMove(932, "\x83", "A\x83"), ElementsAre(Line("OnRecvDeviceChange", "SwitchEvType=99"),
                                                                Line("OnRecvDeviceChange", "strToDevName=A\u0083"),
                                                                Line("OnRecvDeviceChange", "strDevName=\u0083")));
}

} // namespace

} // namespace test
