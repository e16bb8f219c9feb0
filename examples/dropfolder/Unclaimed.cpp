#include "Unclaimed.h"

namespace dropfolder {

using OrvoSupport::OrvoCriticalSection;

bool Unclaimed::note(const std::string& name, const std::string& why) {
    OrvoCriticalSection guard(m_lock);
    const auto [place, isNew] = m_reasons.emplace(name, why);
    if (isNew) ++m_tally.left;
    if (!isNew && place->second == why) return false;
    place->second = why;
    return true;
}

void Unclaimed::forget(const std::string& name) {
    OrvoCriticalSection guard(m_lock);
    if (m_reasons.erase(name) > 0) --m_tally.left;
}

}  // namespace dropfolder
