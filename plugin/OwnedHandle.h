#pragma once

#include <windows.h>

#include <utility>

/// Owns one kernel object handle and closes it. Null means none. Not safe for several threads at once.
class OwnedHandle
{
public:
    OwnedHandle() = default;
    explicit OwnedHandle(HANDLE handle) : handle_(handle) {}
    OwnedHandle(OwnedHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    OwnedHandle& operator=(OwnedHandle&& other) noexcept
    {
        if (this != &other)
        {
            Reset();
            handle_ = std::exchange(other.handle_, nullptr);
        }
        return *this;
    }
    ~OwnedHandle() { Reset(); }

    /// An unnamed auto-reset event, not signalled; none when it cannot be made.
    static OwnedHandle AutoResetEvent() { return OwnedHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr)); }

    /// A second handle of the same object; none when it cannot be made.
    OwnedHandle Duplicate() const
    {
        HANDLE copy = nullptr;
        const HANDLE process = GetCurrentProcess();
        const bool isCopied = handle_ != nullptr && DuplicateHandle(process, handle_, process, &copy, 0, FALSE,
                                                                    DUPLICATE_SAME_ACCESS) != FALSE;
        return OwnedHandle(isCopied ? copy : nullptr);
    }

    HANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    void Reset()
    {
        if (handle_ != nullptr)
        {
            CloseHandle(std::exchange(handle_, nullptr));
        }
    }

private:
    HANDLE handle_ = nullptr;
};
