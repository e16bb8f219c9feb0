// Windows half of Terminal: the library gives each program a console of its own, unless the log is so verbose
// that one wants to see what they do.
#include "../Terminal.h"

namespace dropfolder {

int runApart(const std::function<int()>& work) { return work(); }

}  // namespace dropfolder
