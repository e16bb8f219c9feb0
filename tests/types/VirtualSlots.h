// Where a class has its virtual functions, for callers that go by the place.
#ifndef TESTS_TYPES_VIRTUAL_SLOTS_H
#define TESTS_TYPES_VIRTUAL_SLOTS_H

#include <cstddef>
#include <cstring>

namespace testing_support {

/// The place of a virtual function in the table of its class, from 0. A destructor has the places of two. In
/// the encoding that GCC and Clang share on every system, a pointer to such a member is its offset and 1.
template <class Member>
std::size_t virtualSlot(Member member) {
    std::size_t offsetAndOne = 0;
    std::memcpy(&offsetAndOne, &member, sizeof offsetAndOne);
    return (offsetAndOne - 1) / sizeof(void*);
}

}  // namespace testing_support

#endif
