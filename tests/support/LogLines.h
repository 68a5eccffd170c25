#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace test
{

/// The module's log lines so far, in order, each as its level, a blank and its text:
/// "3 Init(HeadsetAdapterPlugin::Init)".
std::vector<std::string> LogLines();

/// Those whose operation is one of the given ones, such as "HeadsetConnector::Init".
std::vector<std::string> LogLinesOf(std::initializer_list<std::string_view> operations);

/// Those of one thread, by its id.
std::vector<std::string> LogLinesOfThread(std::uint32_t threadId);

} // namespace test
