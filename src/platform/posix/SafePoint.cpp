#include "platform/posix/SafePoint.h"

#include <errno.h>
#include <link.h>
#include <linux/futex.h>
#include <string.h>
#include <sys/syscall.h>
#include <ucontext.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

#include "platform/posix/Sanitizers.h"

namespace OrvoSupport::platform {
namespace {

struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
};

// The memory allocator and the standard streams lock in there, and the run-time parts of the sanitizers,
// which also ask for the time while they do.
constexpr std::array<const char*, 7> criticalNames = {"libc.so", "libc-",   "libpthread", "ld-linux",
                                                      "libtsan", "libasan", "linux-vdso"};

constexpr std::size_t mostRanges = 32;
Range critical[mostRanges];
std::size_t criticalCount = 0;

int addCriticalCode(dl_phdr_info* module, std::size_t, void*) {
    const char* const slash = ::strrchr(module->dlpi_name, '/');
    const char* const name = slash ? slash + 1 : module->dlpi_name;
    const auto matches = [&](const char* begin) { return ::strncmp(name, begin, ::strlen(begin)) == 0; };
    if (std::none_of(criticalNames.begin(), criticalNames.end(), matches)) return 0;
    for (int i = 0; i < module->dlpi_phnum && criticalCount < mostRanges; ++i) {
        const auto& segment = module->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD || !(segment.p_flags & PF_X)) continue;
        const std::uintptr_t begin = module->dlpi_addr + segment.p_vaddr;
        critical[criticalCount++] = {begin, begin + segment.p_memsz};
    }
    return 0;
}

OSUPT_NOT_INSTRUMENTED bool isCritical(std::uintptr_t code) {
    for (std::size_t i = 0; i < criticalCount; ++i)
        if (code >= critical[i].begin && code < critical[i].end) return true;
    return false;
}

#if defined(__x86_64__)

OSUPT_NOT_INSTRUMENTED bool isSystemCall(std::uintptr_t code) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(code);
    return bytes[0] == 0x0F && bytes[1] == 0x05;
}

// How many looks have to find a thread in a call before it counts as sleeping there. Nearly all calls that a
// signal interrupts begin anew, and one that is about to do so looks like one that has not begun yet.
constexpr unsigned never = std::numeric_limits<unsigned>::max();
constexpr unsigned second = 2;
// Threads wait for the locks of the C library itself in the same way as for mutexes, but not for long.
constexpr unsigned manyLooks = 100;

OSUPT_NOT_INSTRUMENTED unsigned looksUntilAsleep(long call, long futexOperation) {
    switch (call) {
        case SYS_futex:
            switch (futexOperation & FUTEX_CMD_MASK) {
                case FUTEX_WAIT: return manyLooks;
                case FUTEX_WAIT_BITSET:
                case FUTEX_LOCK_PI: return second;
                default: return never;
            }
        case SYS_read:
        case SYS_readv:
        case SYS_recvfrom:
        case SYS_recvmsg:
        case SYS_accept:
        case SYS_accept4:
        case SYS_connect:
        case SYS_sendto:
        case SYS_sendmsg:
        case SYS_wait4:
        case SYS_waitid:
        case SYS_flock:
        case SYS_fcntl:
        case SYS_msgrcv: return second;
        default: return never;
    }
}

OSUPT_NOT_INSTRUMENTED bool sleepsInSystemCall(const greg_t* registers, unsigned looks) {
    const auto code = static_cast<std::uintptr_t>(registers[REG_RIP]);
    const long result = registers[REG_RAX];
    if (result == -EINTR && isSystemCall(code - 2)) return true;
    if (!isSystemCall(code)) return false;
    return looks >= looksUntilAsleep(result, registers[REG_RSI]);
}

#endif

}  // namespace

void findCriticalCode() noexcept {
    findSanitizerCode(critical[0].begin, critical[0].end);
    criticalCount = 1;
    ::dl_iterate_phdr(addCriticalCode, nullptr);
}

OSUPT_NOT_INSTRUMENTED bool standsAtSafePoint(const void* context, Standpoint& last) noexcept {
#if defined(__x86_64__)
    const greg_t* const registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    Standpoint now = {static_cast<std::uintptr_t>(registers[REG_RIP]),
                      static_cast<std::uintptr_t>(registers[REG_RSP]), 1};
    if (now.code == last.code && now.stack == last.stack) now.looks += last.looks;
    last = now;
    return !isCritical(now.code) || sleepsInSystemCall(registers, now.looks);
#else
    // The registers have other names on other processors. A thread is taken where it stands.
    static_cast<void>(context);
    static_cast<void>(last);
    return true;
#endif
}

}  // namespace OrvoSupport::platform
