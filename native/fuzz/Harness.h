#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What the fuzz targets share. A target is one function that libFuzzer calls with one input after another; each call
/// leaves the process as it found it.
namespace fuzz
{

/// Reads an input from its front. Behind its end there are zeros, so that every input means something.
class Input
{
public:
    Input(const std::uint8_t* bytes, std::size_t size) : next_(bytes), left_(size) {}

    bool IsAtEnd() const { return left_ == 0; }
    std::uint8_t Byte();
    /// A number below `count`.
    std::size_t Pick(std::size_t count) { return Byte() % count; }
    std::uint32_t Number(); // four bytes, least significant first
    /// As many bytes as the next one says, or what there is of them.
    std::string Text();
    /// Everything that is left.
    std::string Rest();
    /// A text of wide characters without a zero: of bytes, of whole 32-bit numbers, or one character many times; behind
    /// `opening` if the input says so.
    std::wstring WideText(const wchar_t* opening = L"");

private:
    std::string Take(std::size_t count);

    const std::uint8_t* next_;
    std::size_t left_;
};

/// Ends the process, which libFuzzer takes for a finding, unless `holds`.
void Require(bool holds, const char* what);

/// Ends the process when clients of the simulated audio service have kept an object or memory of it.
void RequireNothingKept();

/// Empties what the stand-ins have recorded, plans no fault, and takes providers, reports and hooks away.
void ForgetRecords();

/// Sleeps of the module since the start, and their lengths in milliseconds taken together.
struct Slept
{
    std::uint32_t times = 0;
    std::uint64_t milliseconds = 0;
};
Slept SleptSoFar();

/// Puts the module's waits and clock in other hands, for the rest of the process: `Sleep` only counts; a wait for an
/// object of at least 100 ms takes at most `longestWaitMs`; and the clock can be put forward.
void ShortenWaits(DWORD longestWaitMs);
void SetLongestWait(DWORD longestWaitMs);

/// Puts the module's clock forward. It never goes back.
void PutClockForward(std::uint64_t milliseconds);

} // namespace fuzz
