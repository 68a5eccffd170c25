// The one leak that is intended: an id that a later record of the same kind overwrites is given up, not freed.
#include "audio/EarEndpointInfo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>

namespace
{

std::atomic<void*> watched = nullptr;
std::atomic<int> freed = 0;

} // namespace

void operator delete[](void* memory) noexcept
{
    freed += memory != nullptr && memory == watched ? 1 : 0;
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    operator delete[](memory);
}

namespace
{

EndpointRecord RecordOf(const wchar_t* id)
{
    EndpointRecord record;
    record.devicePwszAllID = id;
    return record;
}

TEST(OverwrittenId, IsNotFreed)
{
    EarEndpointInfo info;
    info.Fill(RecordOf(L"first"));
    const wchar_t* const first = info.devicePwszAllID.get();
    watched = info.devicePwszAllID.get();
    freed = 0;
    info.Fill(RecordOf(L"second"));
    EXPECT_EQ(freed, 0);
    EXPECT_STREQ(first, L"first");
    EXPECT_STREQ(info.devicePwszAllID.get(), L"second");
}

TEST(OverwrittenId, TheLastOneIsFreedWithItsRecord)
{
    {
        EarEndpointInfo info;
        info.Fill(RecordOf(L"only"));
        watched = info.devicePwszAllID.get();
        freed = 0;
    }
    EXPECT_EQ(freed, 1);
}

} // namespace
