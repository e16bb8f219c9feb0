// Linux half of CurrentThreadId; contract in platform/CurrentThreadId.h.
#include "platform/CurrentThreadId.h"

#include <pthread.h>
#include <sys/types.h>
#include <unistd.h>

namespace OrvoSupport::platform {
namespace {

thread_local int cachedId = 0;

// The one thread of a forked child has a number of its own.
[[maybe_unused]] const int forkHandler = ::pthread_atfork(nullptr, nullptr, [] { cachedId = 0; });

}  // namespace

int currentThreadId() {
    if (cachedId == 0) cachedId = ::gettid();
    return cachedId;
}

}  // namespace OrvoSupport::platform
