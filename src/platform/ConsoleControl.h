// Interrupts from the console of a program.
#ifndef OSUPT_PLATFORM_CONSOLE_CONTROL_H
#define OSUPT_PLATFORM_CONSOLE_CONTROL_H

namespace OrvoSupport::platform {

constexpr int consoleInterrupt = 0;  // Ctrl+C
constexpr int consoleBreak = 1;      // Ctrl+Break; the system's request to end where there is no such key

/// Called on a thread of its own, never in the middle of other code. True when the interrupt was handled;
/// otherwise the system does what it does without a handler.
using ConsoleHandler = bool (*)(int event);

/// Installs the handler until removeConsoleHandler(), after which it runs no more. False when the system
/// refuses.
bool setConsoleHandler(ConsoleHandler handler);
void removeConsoleHandler();

}  // namespace OrvoSupport::platform

#endif
