// With which sanitizer a test is built: some of what they keep books of is lost on them.
#ifndef TESTS_SUPPORT_SANITIZERS_H
#define TESTS_SUPPORT_SANITIZERS_H

#include <chrono>
#include <thread>

namespace testing_support {

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OSUPT_ADDRESS_SANITIZER
#endif
#if __has_feature(thread_sanitizer)
#define OSUPT_THREAD_SANITIZER
#endif
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(OSUPT_ADDRESS_SANITIZER)
constexpr bool addressSanitizer = true;
#else
constexpr bool addressSanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__) || defined(OSUPT_THREAD_SANITIZER)
constexpr bool threadSanitizer = true;
#else
constexpr bool threadSanitizer = false;
#endif

constexpr bool anySanitizer = addressSanitizer || threadSanitizer;

/// To be called before a fork: a thread that begins uses the heap, which the address sanitizer leaves locked
/// in a child.
inline void letThreadsBegin() {
    if (addressSanitizer) std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

}  // namespace testing_support

#endif
