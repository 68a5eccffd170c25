#include "tests/simulator/service/ServiceProgram.h"

#include "tests/simulator/host/Inbox.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace
{

struct Pipe
{
    sim::Handle readEnd;
    sim::Handle writeEnd;
};

Pipe MakePipe()
{
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (!CreatePipe(&readEnd, &writeEnd, nullptr, 0))
    {
        throw std::runtime_error("no pipe");
    }
    return {sim::Handle(readEnd), sim::Handle(writeEnd)};
}

void LetInherit(const sim::Handle& handle)
{
    SetHandleInformation(handle.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
}

std::wstring ProgramPath()
{
    std::array<wchar_t, 1024> path{};
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    const std::wstring own = path.data();
    return own.substr(0, own.find_last_of(L'\\') + 1) + L"connectivity-service.exe";
}

sim::Handle StartProgram(const std::string& arguments, const sim::Handle& input, const sim::Handle& output)
{
    std::wstring command = L"\"" + ProgramPath() + L"\" " + std::wstring(arguments.begin(), arguments.end());
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.get();
    startup.hStdOutput = output.get();
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
    {
        throw std::runtime_error("the service program does not start");
    }
    CloseHandle(process.hThread);
    return sim::Handle(process.hProcess);
}

} // namespace

ServiceProgram::ServiceProgram(const std::string& arguments)
{
    Pipe input = MakePipe();
    Pipe output = MakePipe();
    LetInherit(input.readEnd);
    LetInherit(output.writeEnd);
    process_ = StartProgram(arguments, input.readEnd, output.writeEnd);
    input_ = std::move(input.writeEnd);
    output_ = std::move(output.readEnd);
    reader_ = std::thread([this] { ReadOutput(); });
}

ServiceProgram::~ServiceProgram()
{
    CloseInput();
    if (WaitForEnd() < 0)
    {
        TerminateProcess(process_.get(), 99);
        reader_.join();
    }
}

void ServiceProgram::WriteLine(std::string_view line)
{
    const std::string bytes = std::string(line) + "\n";
    DWORD written = 0;
    WriteFile(input_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void ServiceProgram::CloseInput()
{
    input_.reset();
}

bool ServiceProgram::WaitForLine(const std::string& line, std::size_t count)
{
    std::unique_lock lock(mutex_);
    return added_.wait_for(lock, patience,
                           [&] { return static_cast<std::size_t>(std::ranges::count(lines_, line)) >= count; });
}

std::vector<std::string> ServiceProgram::Lines() const
{
    const std::scoped_lock lock(mutex_);
    return lines_;
}

int ServiceProgram::WaitForEnd()
{
    const auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(patience).count();
    if (WaitForSingleObject(process_.get(), static_cast<DWORD>(limit)) != WAIT_OBJECT_0)
    {
        return -1;
    }
    if (reader_.joinable())
    {
        reader_.join();
    }
    DWORD code = 0;
    GetExitCodeProcess(process_.get(), &code);
    return static_cast<int>(code);
}

void ServiceProgram::ReadOutput()
{
    std::array<char, 4096> buffer{};
    DWORD read = 0;
    while (ReadFile(output_.get(), buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr) && read > 0)
    {
        Add({buffer.data(), read});
    }
}

void ServiceProgram::Add(std::string_view bytes)
{
    const std::scoped_lock lock(mutex_);
    for (const char byte : bytes)
    {
        if (byte != '\n')
        {
            begun_.push_back(byte);
            continue;
        }
        lines_.push_back(begun_);
        begun_.clear();
    }
    added_.notify_all();
}
