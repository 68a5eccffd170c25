#include "simulator/program/OtherProgram.h"

#include <wtypes.h> // before what needs it

#include "simulator/audio/AudioIdentifiers.h"
#include "simulator/host/wire/Handle.h"
#include "simulator/program/ExitStatus.h"

#include <windows.h>

#include <cstdio>
#include <string>

namespace sim
{

bool HasSimulatedAudio()
{
    ACTCTX_SECTION_KEYED_DATA found{};
    found.cbSize = sizeof(found);
    return FindActCtxSectionGuid(0, nullptr, ACTIVATION_CONTEXT_SECTION_COM_SERVER_REDIRECTION, &deviceEnumeratorClass,
                                 &found) != FALSE;
}

int RunProgram(const std::filesystem::path& program)
{
    std::wstring command = GetCommandLineW(); // its first word is this program's name, which the other does not look at
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &started))
    {
        std::fprintf(stderr, "simulator: cannot start %s: error %lu\n", program.string().c_str(), GetLastError());
        return static_cast<int>(ExitStatus::Failed);
    }
    const Handle thread(started.hThread);
    const Handle process(started.hProcess);
    WaitForSingleObject(process.get(), INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(process.get(), &status);
    return static_cast<int>(status);
}

} // namespace sim
