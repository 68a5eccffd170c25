#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

namespace
{

/// The version resource of the DLL that lies beside this program; empty when it has none.
std::vector<char> VersionResource()
{
    DWORD ignored = 0;
    std::vector<char> resource(GetFileVersionInfoSizeW(L"HeadsetAdapterPlugin.dll", &ignored));
    const auto size = static_cast<DWORD>(resource.size());
    if (size == 0 || !GetFileVersionInfoW(L"HeadsetAdapterPlugin.dll", 0, size, resource.data()))
    {
        return {};
    }
    return resource;
}

std::wstring Text(const std::vector<char>& resource, const wchar_t* name)
{
    void* text = nullptr;
    UINT length = 0; // with the terminating null
    const std::wstring path = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
    return VerQueryValueW(resource.data(), path.c_str(), &text, &length) && length > 0
               ? std::wstring(static_cast<const wchar_t*>(text))
               : L"none";
}

TEST(VersionResource, HasTheVersionOfFileAndProduct)
{
    const std::vector<char> resource = VersionResource();
    ASSERT_FALSE(resource.empty());
    void* value = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(resource.data(), L"\\", &value, &length));
    const auto& version = *static_cast<const VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(version.dwFileVersionMS, 0x00010000u);
    EXPECT_EQ(version.dwFileVersionLS, 0u);
    EXPECT_EQ(version.dwProductVersionMS, 0x00010000u);
    EXPECT_EQ(version.dwProductVersionLS, 0u);
    EXPECT_EQ(version.dwFileType, static_cast<DWORD>(VFT_DLL));
}

TEST(VersionResource, HasTheTextsThatExplorerShows)
{
    const std::vector<char> resource = VersionResource();
    ASSERT_FALSE(resource.empty());
    EXPECT_EQ(Text(resource, L"FileVersion"), L"1.0.0");
    EXPECT_EQ(Text(resource, L"ProductVersion"), L"1.0.0");
    EXPECT_EQ(Text(resource, L"ProductName"), L"HeadsetAdapterPlugin");
    EXPECT_EQ(Text(resource, L"OriginalFilename"), L"HeadsetAdapterPlugin.dll");
    EXPECT_EQ(Text(resource, L"FileDescription"), L"Bluetooth headsets for the device-collaboration host");
    EXPECT_EQ(Text(resource, L"CompanyName"), L"none");
}

} // namespace
