// The exports of the module by their decorated names, as a host finds them while it runs.
#include "tests/microsoft/Tables.h"
#include "tests/support/PluginModule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace test
{

namespace
{

std::vector<std::string> ExpectedNames()
{
    std::vector<std::string> names;
    for (const std::string& line : TableLines("exports/microsoft.txt"))
    {
        if (line.front() != ' ') // below a name, further in, stands what it means
        {
            names.push_back(line);
        }
    }
    return names;
}

/// The names in the export directory of a loaded module.
std::vector<std::string> ExportedNames(HMODULE module)
{
    const auto* const image = reinterpret_cast<const std::uint8_t*>(module);
    const auto* const start = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + start->e_lfanew);
    const auto* const directory = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(
        image + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    const auto* const offsets = reinterpret_cast<const DWORD*>(image + directory->AddressOfNames);
    std::vector<std::string> names;
    for (DWORD i = 0; i < directory->NumberOfNames; ++i)
    {
        names.emplace_back(reinterpret_cast<const char*>(image + offsets[i]));
    }
    return names;
}

TEST(MicrosoftExports, EveryNameOfTheTableIsFound)
{
    const PluginModule module;
    for (const std::string& name : ExpectedNames())
    {
        EXPECT_NE(GetProcAddress(module.Handle(), name.c_str()), nullptr) << name;
    }
}

TEST(MicrosoftExports, ThereIsNoOther)
{
    const PluginModule module;
    EXPECT_THAT(ExportedNames(module.Handle()), testing::UnorderedElementsAreArray(ExpectedNames()));
}

} // namespace

} // namespace test
