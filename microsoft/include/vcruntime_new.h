// Stands in for the compiler's own header of this name: the allocation functions.
#pragma once

#include <vcruntime.h>

namespace std
{
enum class align_val_t : size_t
{
};
struct nothrow_t
{
    explicit nothrow_t() = default;
};
extern const nothrow_t nothrow;
} // namespace std

void* __CRTDECL operator new(size_t size);
void* __CRTDECL operator new(size_t size, const std::nothrow_t&) noexcept;
void* __CRTDECL operator new[](size_t size);
void* __CRTDECL operator new[](size_t size, const std::nothrow_t&) noexcept;
void* __CRTDECL operator new(size_t size, std::align_val_t alignment);
void* __CRTDECL operator new(size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept;
void* __CRTDECL operator new[](size_t size, std::align_val_t alignment);
void* __CRTDECL operator new[](size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept;
void __CRTDECL operator delete(void* block) noexcept;
void __CRTDECL operator delete(void* block, const std::nothrow_t&) noexcept;
void __CRTDECL operator delete(void* block, size_t size) noexcept;
void __CRTDECL operator delete[](void* block) noexcept;
void __CRTDECL operator delete[](void* block, const std::nothrow_t&) noexcept;
void __CRTDECL operator delete[](void* block, size_t size) noexcept;
void __CRTDECL operator delete(void* block, std::align_val_t alignment) noexcept;
void __CRTDECL operator delete(void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept;
void __CRTDECL operator delete(void* block, size_t size, std::align_val_t alignment) noexcept;
void __CRTDECL operator delete[](void* block, std::align_val_t alignment) noexcept;
void __CRTDECL operator delete[](void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept;
void __CRTDECL operator delete[](void* block, size_t size, std::align_val_t alignment) noexcept;

inline void* __CRTDECL operator new(size_t, void* place) noexcept
{
    return place;
}
inline void* __CRTDECL operator new[](size_t, void* place) noexcept
{
    return place;
}
inline void __CRTDECL operator delete(void*, void*) noexcept {}
inline void __CRTDECL operator delete[](void*, void*) noexcept {}
// The standard library has these too, unless it is told that they are here.
#define __PLACEMENT_NEW_INLINE
#define __PLACEMENT_VEC_NEW_INLINE
