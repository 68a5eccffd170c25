#pragma once

#include <windows.h>

#include <objbase.h>

/// Owns one wide text that a COM call allocated for its caller.
class CoTaskText
{
public:
    CoTaskText() = default;
    ~CoTaskText() { CoTaskMemFree(text_); }
    CoTaskText(const CoTaskText&) = delete;
    CoTaskText& operator=(const CoTaskText&) = delete;

    /// Where a call puts the text; called once.
    LPWSTR* Put() { return &text_; }
    const wchar_t* Get() const { return text_; }
    explicit operator bool() const { return text_ != nullptr; }

private:
    LPWSTR text_ = nullptr;
};
