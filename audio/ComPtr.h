#pragma once

#include <utility>

/// Owns one reference of a COM object and releases it. Null means none. Not safe for several threads at once.
template <typename Interface> class ComPtr
{
public:
    ComPtr() = default;
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ComPtr& operator=(ComPtr&& other) noexcept
    {
        if (this != &other)
        {
            Reset();
            object_ = std::exchange(other.object_, nullptr);
        }
        return *this;
    }
    ~ComPtr() { Reset(); }

    Interface* Get() const { return object_; }
    Interface* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

    /// Where a call puts the reference that it gives; what was held before is released.
    Interface** Put()
    {
        Reset();
        return &object_;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }

    /// Gives the reference away.
    Interface* Detach() { return std::exchange(object_, nullptr); }

    void Reset()
    {
        if (object_ != nullptr)
        {
            std::exchange(object_, nullptr)->Release();
        }
    }

private:
    Interface* object_ = nullptr;
};
