// How many files went which way.
#ifndef DROPFOLDER_TALLY_H
#define DROPFOLDER_TALLY_H

#include <atomic>

namespace dropfolder {

/// Thread safety: the counts may be changed and read by any thread at any time.
struct Tally {
    std::atomic<int> done{0};
    std::atomic<int> failed{0};
    std::atomic<int> left{0};  ///< can be neither claimed nor filed away; they stand where the log says
};

}  // namespace dropfolder

#endif
