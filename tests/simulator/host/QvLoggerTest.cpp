#include "logger/QvLogger.h"
#include "simulator/timeline/Timeline.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

namespace
{

void Log(LOG_MESSAGE_LEVEL level, const std::wstring& text)
{
    std::wstringstream line;
    line << text;
    QvLogger::GetInstance()->Log(level, line);
}

} // namespace

TEST(QvLogger, TellsTheTimelineEachLineByItsLevel)
{
    sim::Timeline::Instance().Clear();
    Log(LOG_LEVEL_INFO, L"first");
    Log(LOG_LEVEL_ERROR, L"second \x00E4");
    Log(LOG_LEVEL_INFO, L"");
    EXPECT_EQ(sim::Timeline::Instance().Texts("log3"), (std::vector<std::string>{"first", ""}));
    EXPECT_EQ(sim::Timeline::Instance().Texts("log4"), (std::vector<std::string>{"second \xC3\xA4"}));
}

TEST(QvLogger, LeavesTheStreamAsItIs)
{
    std::wstringstream line;
    line << L"text";
    QvLogger::GetInstance()->Log(LOG_LEVEL_INFO, line);
    EXPECT_EQ(line.str(), L"text");
}

TEST(QvLogger, KeepsEachThreadsLinesWholeAndInOrder)
{
    sim::Timeline::Instance().Clear();
    constexpr int lines = 500;
    std::vector<std::thread> threads;
    for (wchar_t name = L'a'; name < L'i'; ++name)
    {
        threads.emplace_back(
            [name]
            {
                for (int line = 0; line < lines; ++line)
                {
                    Log(LOG_LEVEL_INFO, std::wstring(20, name) + L" " + std::to_wstring(line));
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    std::map<char, int> next;
    for (const std::string& text : sim::Timeline::Instance().Texts("log3"))
    {
        const char name = text.at(0);
        ASSERT_EQ(text, std::string(20, name) + " " + std::to_string(next[name]++));
    }
    EXPECT_EQ(next,
              (std::map<char, int>{
                  {'a', 500}, {'b', 500}, {'c', 500}, {'d', 500}, {'e', 500}, {'f', 500}, {'g', 500}, {'h', 500}}));
}
