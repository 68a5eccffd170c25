#include "simulator/program/ChildProcess.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <system_error>
#include <utility>

namespace sim
{

namespace
{

[[noreturn]] void ThrowLastError(const char* what)
{
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

struct Pipe
{
    Handle reading;
    Handle writing;
};

/// A pipe whose one end, the child's, is inherited.
Pipe MakePipe(bool childReads)
{
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE reading = nullptr;
    HANDLE writing = nullptr;
    if (!CreatePipe(&reading, &writing, &inherited, 0))
    {
        ThrowLastError("CreatePipe");
    }
    Pipe pipe{Handle(reading), Handle(writing)};
    if (!SetHandleInformation(childReads ? writing : reading, HANDLE_FLAG_INHERIT, 0))
    {
        ThrowLastError("SetHandleInformation");
    }
    return pipe;
}

Handle StartProcess(const std::wstring& program, const std::vector<std::wstring>& arguments, HANDLE input,
                    HANDLE output)
{
    std::wstring command = L"\"" + program + L"\"";
    for (const std::wstring& argument : arguments)
    {
        command += L" \"" + argument + L"\"";
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input;
    startup.hStdOutput = output;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &started))
    {
        ThrowLastError("cannot start the service's program");
    }
    const Handle thread(started.hThread);
    return Handle(started.hProcess);
}

} // namespace

ChildProcess::ChildProcess(const std::wstring& program, const std::vector<std::wstring>& arguments)
{
    Pipe input = MakePipe(true);
    Pipe output = MakePipe(false);
    process_ = StartProcess(program, arguments, input.reading.get(), output.writing.get());
    input_ = std::move(input.writing);
    output_ = std::move(output.reading);
}

ChildProcess::~ChildProcess()
{
    Terminate();
}

void ChildProcess::WriteLine(std::string_view line)
{
    const std::string text = std::string(line) + "\n";
    DWORD written = 0;
    if (!WriteFile(input_.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
        written != text.size())
    {
        ThrowLastError("cannot write to the service");
    }
}

std::optional<std::string> ChildProcess::ReadLine()
{
    std::size_t end = buffered_.find('\n');
    while (end == std::string::npos)
    {
        std::array<char, 4096> part;
        DWORD got = 0;
        if (!ReadFile(output_.get(), part.data(), static_cast<DWORD>(part.size()), &got, nullptr) || got == 0)
        {
            return std::nullopt;
        }
        buffered_.append(part.data(), got);
        end = buffered_.find('\n');
    }
    std::string line = buffered_.substr(0, end);
    buffered_.erase(0, end + 1);
    return line;
}

bool ChildProcess::WaitForEnd(std::chrono::milliseconds limit) const
{
    return WaitForSingleObject(process_.get(), static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0;
}

void ChildProcess::Terminate()
{
    TerminateProcess(process_.get(), 1);
}

} // namespace sim
