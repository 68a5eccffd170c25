// The host's logger library, as the module sees it.
#pragma once

#include <cstdint>
#include <sstream>

#ifndef QV_LOGGER_API
#define QV_LOGGER_API __declspec(dllimport)
#endif

// The module uses two of the host's levels; the others are the host's own.
enum LOG_MESSAGE_LEVEL : std::int32_t
{
    LOG_LEVEL_INFO = 3,  // ordinary progress and values
    LOG_LEVEL_ERROR = 4, // failures and refused input
};
static_assert(LOG_LEVEL_INFO == 3 && LOG_LEVEL_ERROR == 4);

/// The process-wide diagnostic log. It is built by the host's library on first use and lives until the process
/// ends. Every operation may be called from any thread, and never calls back into its caller.
class QV_LOGGER_API QvLogger
{
public:
    /// The process-wide logger. Owned by the library, never null.
    static QvLogger* GetInstance();

    /// Records the text of `line` at `level`. The stream stays the caller's and is not kept.
    void Log(LOG_MESSAGE_LEVEL level, std::wstringstream& line);

    QvLogger(const QvLogger&) = delete;
    QvLogger& operator=(const QvLogger&) = delete;

private:
    QvLogger();
    ~QvLogger();
};
