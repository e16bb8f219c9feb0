// Linux half of ThreadSlot; contract in platform/ThreadSlot.h.
#include "platform/ThreadSlot.h"

namespace OrvoSupport::platform {
namespace {

__thread void* slot __attribute__((tls_model("initial-exec"))) = nullptr;

}  // namespace

void* threadSlot() noexcept { return slot; }

void setThreadSlot(void* value) noexcept { slot = value; }

const void* thisThread() noexcept { return &slot; }

}  // namespace OrvoSupport::platform
