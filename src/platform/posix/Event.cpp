// Linux half of Event; contract in src/platform/Event.h.
#include "platform/Event.h"

#include <new>

#include "platform/posix/Waitable.h"

namespace OrvoSupport::platform {
namespace {

Waitable& waitable(WaitHandle event) { return *static_cast<Waitable*>(event); }

}  // namespace

WaitHandle createEvent() noexcept { return new (std::nothrow) Waitable(Waitable::Release::one); }

WaitHandle createManualResetEvent() noexcept { return new (std::nothrow) Waitable(Waitable::Release::all); }

void closeEvent(WaitHandle event) noexcept {
    if (event) delete &waitable(event);
}

void setEvent(WaitHandle event) noexcept { waitable(event).signal(); }

void resetEvent(WaitHandle event) noexcept { waitable(event).clear(); }

void pulseEvent(WaitHandle event) noexcept { waitable(event).pulse(); }

}  // namespace OrvoSupport::platform
