// Memory that ends when a test wants it to. Replaces the operators of the whole program, the library's too,
// so it is included by one source file of a program.
#ifndef TESTS_SUPPORT_FAILING_MEMORY_H
#define TESTS_SUPPORT_FAILING_MEMORY_H

#include <cstdlib>
#include <new>

namespace testing_support {

/// How many more allocations succeed; negative means all.
inline int allocationsLeft = -1;

inline void* allocate(std::size_t size) noexcept {
    if (allocationsLeft == 0) return nullptr;
    if (allocationsLeft > 0) --allocationsLeft;
    return std::malloc(size ? size : 1);
}

inline void* allocateOrThrow(std::size_t size) {
    if (void* const block = allocate(size)) return block;
    throw std::bad_alloc();
}

}  // namespace testing_support

// A sanitizer wants them all or none.
void* operator new(std::size_t size) { return testing_support::allocateOrThrow(size); }
void* operator new[](std::size_t size) { return testing_support::allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return testing_support::allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return testing_support::allocate(size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

#endif
