// The files that could not be claimed.
#ifndef DROPFOLDER_UNCLAIMED_H
#define DROPFOLDER_UNCLAIMED_H

#include <OrvoCriticalSection.h>

#include <map>
#include <string>

#include "Tally.h"

namespace dropfolder {

/// The files that could not be claimed so far, by their names, with the reasons. Their number is counted in
/// the tally.
///
/// Thread safety: any method may be called from any thread.
class Unclaimed {
public:
    explicit Unclaimed(Tally& tally) : m_tally(tally) {}

    /// True if it is news: a new name, or another reason.
    bool note(const std::string& name, const std::string& why);
    /// It has been claimed after all, or is gone.
    void forget(const std::string& name);

private:
    Tally& m_tally;
    OrvoSupport::OrvoCriticalSectionObject m_lock;
    std::map<std::string, std::string> m_reasons;
};

}  // namespace dropfolder

#endif
