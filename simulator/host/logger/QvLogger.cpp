#include "logger/QvLogger.h"

#include "simulator/timeline/Timeline.h"

#include <string>

QvLogger::QvLogger() = default;

QvLogger::~QvLogger() = default;

QvLogger* QvLogger::GetInstance()
{
    // Never destroyed: threads of the module may still log while the process ends.
    static QvLogger* const instance = new QvLogger();
    return instance;
}

void QvLogger::Log(LOG_MESSAGE_LEVEL level, std::wstringstream& line)
{
    const std::string number = std::to_string(static_cast<std::int32_t>(level));
    sim::Timeline::Instance().Add("log" + number, line.str(), {.kind = "log line", .values = {{"level", number}}});
}
