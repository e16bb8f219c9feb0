// Keeping what a terminal sends away from the commands.
#ifndef DROPFOLDER_TERMINAL_H
#define DROPFOLDER_TERMINAL_H

#include <functional>

namespace dropfolder {

/// Does the work of a program, whose exit code it returns. A Ctrl+C goes to every process that a terminal's
/// foreground program has started, so the commands would not survive that which dropfolder lets finish. Where
/// it is so, the work is done by a child process apart from the terminal, and this one passes signals on to
/// it. Before this call no thread may have been started.
int runApart(const std::function<int()>& work);

}  // namespace dropfolder

#endif
