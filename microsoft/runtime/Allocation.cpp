// Stands in for the allocation functions, which every module has inside, so that a program can bring its own.
#include <malloc.h>
#include <new>
#include <stdlib.h>

extern "C" _ACRTIMP int __cdecl _callnewh(size_t size);

void* operator new(size_t size)
{
    for (;;)
    {
        if (void* const block = malloc(size != 0 ? size : 1))
        {
            return block;
        }
        if (_callnewh(size) == 0)
        {
            throw std::bad_alloc();
        }
    }
}

void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    try
    {
        return operator new(size);
    }
    catch (...)
    {
        return nullptr;
    }
}

void* operator new[](size_t size)
{
    return operator new(size);
}

void* operator new[](size_t size, const std::nothrow_t& nothrow) noexcept
{
    return operator new(size, nothrow);
}

void operator delete(void* block) noexcept
{
    free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    operator delete(block);
}

void operator delete(void* block, size_t) noexcept
{
    operator delete(block);
}

void operator delete[](void* block) noexcept
{
    operator delete(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    operator delete(block);
}

void operator delete[](void* block, size_t) noexcept
{
    operator delete(block);
}
