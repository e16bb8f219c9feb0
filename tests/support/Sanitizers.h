// With which sanitizer a test is built: some of what they keep books of is lost on them.
#ifndef TESTS_SUPPORT_SANITIZERS_H
#define TESTS_SUPPORT_SANITIZERS_H

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

}  // namespace testing_support

#endif
