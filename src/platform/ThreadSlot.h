// One pointer of each thread's own, and what tells threads apart.
#ifndef OSUPT_PLATFORM_THREAD_SLOT_H
#define OSUPT_PLATFORM_THREAD_SLOT_H

namespace OrvoSupport::platform {

/// What the calling thread stored last; null at first, and always where the system has no slot left. Nothing
/// stays behind when the thread ends or the library is unloaded.
///
/// Thread safety: any thread.
void* threadSlot() noexcept;
void setThreadSlot(void* value) noexcept;

/// Differs from that of every other thread there is. Unlike the system's number it stays the same when the
/// thread forks the process.
const void* thisThread() noexcept;

}  // namespace OrvoSupport::platform

#endif
