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

#include "platform/posix/Sanitizers.h"

namespace OrvoSupport::platform {
namespace {

struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
};

// The memory allocator and the standard streams lock in there, and the run-time parts of the sanitizers.
constexpr std::array<const char*, 6> criticalNames = {"libc.so",  "libc-",   "libpthread",
                                                      "ld-linux", "libtsan", "libasan"};

std::array<Range, 32> critical;
std::size_t criticalCount = 0;

int addCriticalCode(dl_phdr_info* module, std::size_t, void*) {
    const char* const slash = ::strrchr(module->dlpi_name, '/');
    const char* const name = slash ? slash + 1 : module->dlpi_name;
    const auto matches = [&](const char* begin) { return ::strncmp(name, begin, ::strlen(begin)) == 0; };
    if (std::none_of(criticalNames.begin(), criticalNames.end(), matches)) return 0;
    for (int i = 0; i < module->dlpi_phnum && criticalCount < critical.size(); ++i) {
        const auto& segment = module->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD || !(segment.p_flags & PF_X)) continue;
        const std::uintptr_t begin = module->dlpi_addr + segment.p_vaddr;
        critical[criticalCount++] = {begin, begin + segment.p_memsz};
    }
    return 0;
}

bool isCritical(std::uintptr_t code) {
    for (std::size_t i = 0; i < criticalCount; ++i)
        if (code >= critical[i].begin && code < critical[i].end) return true;
    return false;
}

#if defined(__x86_64__)

bool isSystemCall(std::uintptr_t code) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(code);
    return bytes[0] == 0x0F && bytes[1] == 0x05;
}

// Among the calls that the kernel begins anew after a signal, those in which threads wait for others.
bool mayWait(long call) {
    constexpr long waits[] = {SYS_read,    SYS_readv,   SYS_recvfrom, SYS_recvmsg, SYS_accept,
                              SYS_accept4, SYS_connect, SYS_wait4,    SYS_waitid,  SYS_flock,
                              SYS_fcntl,   SYS_sendto,  SYS_sendmsg,  SYS_msgrcv,  SYS_getrandom};
    return std::find(std::begin(waits), std::end(waits), call) != std::end(waits);
}

bool waitsForFutex(long operation) {
    const long command = operation & FUTEX_CMD_MASK;
    return command == FUTEX_WAIT || command == FUTEX_WAIT_BITSET || command == FUTEX_LOCK_PI;
}

bool sleepsInSystemCall(const greg_t* registers, bool stoodThereBefore) {
    const auto code = static_cast<std::uintptr_t>(registers[REG_RIP]);
    const long result = registers[REG_RAX];
    if (result == -EINTR && isSystemCall(code - 2)) return true;
    // A call that is about to begin anew looks like one that has not begun yet, which is no sleep, and
    // waiting for a lock of the C library takes but a moment; a second look tells.
    if (!stoodThereBefore || !isSystemCall(code)) return false;
    return result == SYS_futex ? waitsForFutex(registers[REG_RSI]) : mayWait(result);
}

#endif

}  // namespace

void findCriticalCode() noexcept {
    findSanitizerCode(critical[0].begin, critical[0].end);
    criticalCount = 1;
    ::dl_iterate_phdr(addCriticalCode, nullptr);
}

bool standsAtSafePoint(const void* context, Standpoint& last) noexcept {
#if defined(__x86_64__)
    const greg_t* const registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
    const Standpoint now = {static_cast<std::uintptr_t>(registers[REG_RIP]),
                            static_cast<std::uintptr_t>(registers[REG_RSP])};
    const bool stoodThereBefore = now.code == last.code && now.stack == last.stack;
    last = now;
    return !isCritical(now.code) || sleepsInSystemCall(registers, stoodThereBefore);
#else
    // The registers have other names on other processors. A thread is taken where it stands.
    static_cast<void>(context);
    static_cast<void>(last);
    return true;
#endif
}

}  // namespace OrvoSupport::platform
