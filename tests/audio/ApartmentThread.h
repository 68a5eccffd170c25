#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <objbase.h>

#include <ostream>
#include <string>
#include <thread>

namespace test
{

/// What COM is on a thread.
enum class ApartmentKind
{
    None,
    SingleThreaded,
    Multithreaded,
};

inline std::ostream& operator<<(std::ostream& stream, ApartmentKind kind)
{
    const char* const names[] = {"None", "SingleThreaded", "Multithreaded"};
    return stream << names[static_cast<int>(kind)];
}

/// The calling thread's.
inline ApartmentKind CurrentApartment()
{
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    if (FAILED(CoGetApartmentType(&type, &qualifier)))
    {
        return ApartmentKind::None;
    }
    return type == APTTYPE_MTA ? ApartmentKind::Multithreaded : ApartmentKind::SingleThreaded;
}

/// Runs `work` on a thread of its own in that kind of apartment, and expects that it leaves as often as it enters.
template <typename Work> void RunIn(ApartmentKind kind, const Work& work)
{
    std::thread(
        [&]
        {
            if (kind != ApartmentKind::None)
            {
                CoInitializeEx(nullptr,
                               kind == ApartmentKind::SingleThreaded ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED);
            }
            work();
            EXPECT_EQ(CurrentApartment(), kind);
            if (kind != ApartmentKind::None)
            {
                CoUninitialize();
            }
            EXPECT_EQ(CurrentApartment(), ApartmentKind::None);
        })
        .join();
}

/// For INSTANTIATE_TEST_SUITE_P over the three kinds.
struct ApartmentName
{
    template <typename Instance> std::string operator()(const Instance& instance) const
    {
        return testing::PrintToString(instance.param);
    }
};

} // namespace test
