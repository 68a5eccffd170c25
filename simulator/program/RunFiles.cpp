#include "simulator/program/RunFiles.h"

#include "simulator/page/PageResources.h"
#include "simulator/run/PageData.h"
#include "simulator/run/RunRecord.h"
#include "simulator/run/RunStory.h"
#include "simulator/run/TraceFile.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <ios>
#include <stdexcept>
#include <string_view>

namespace sim
{

namespace
{

/// A file that is built into the program; see PageResources.rc.
std::string_view Resource(int number)
{
    const HMODULE program = GetModuleHandleW(nullptr);
    const HRSRC found = FindResourceW(program, MAKEINTRESOURCEW(number), RT_RCDATA);
    const HGLOBAL loaded = found != nullptr ? LoadResource(program, found) : nullptr;
    if (loaded == nullptr)
    {
        throw std::runtime_error("the program lacks its resource " + std::to_string(number));
    }
    return {static_cast<const char*>(LockResource(loaded)), SizeofResource(program, found)};
}

/// The drawing library, with its licence before it.
std::string Library()
{
    return "/*\n" + std::string(Resource(PAGE_LIBRARY_LICENCE)) + "*/\n" + std::string(Resource(PAGE_LIBRARY));
}

std::string Page(const RunRecord& record, const RunStory& story)
{
    const std::string library = Library();
    return MakePage({Resource(PAGE_FRAME), Resource(PAGE_STYLE), library, Resource(PAGE_PROGRAM)}, record, story);
}

void WriteFile(const std::string& name, const std::string& text)
{
    std::ofstream file(name, std::ios::binary);
    file << text;
    if (!file.flush())
    {
        throw std::runtime_error("cannot write " + name);
    }
}

} // namespace

void RunFiles::Write(bool held, std::size_t expectations) const
{
    if (options_.page.empty() && options_.trace.empty() && options_.json.empty())
    {
        return;
    }
    RunRecord record = MakeRecord(Timeline::Instance(), lanes_);
    record.title = options_.interactive ? "input" : std::filesystem::path(options_.scenario).filename().string();
    record.held = held;
    record.expectations = expectations;
    const RunStory story = TellStory(record);
    if (!options_.page.empty())
    {
        WriteFile(options_.page, Page(record, story));
    }
    if (!options_.trace.empty())
    {
        WriteFile(options_.trace, MakeTrace(record, story));
    }
    if (!options_.json.empty())
    {
        WriteFile(options_.json, MakeLines(record, story));
    }
}

} // namespace sim
