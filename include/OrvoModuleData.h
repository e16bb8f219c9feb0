// The record of a module, through which process-wide objects are created and destroyed with it.
#ifndef ORVO_MODULE_DATA_H
#define ORVO_MODULE_DATA_H

#include <cstdint>

#include "OrvoExport.h"

namespace OrvoSupport {

/// The record of one module. The library has one such record for itself, which creates the process-wide
/// objects when the library is loaded and destroys them when it is unloaded; a host's own records control
/// nothing.
///
/// Thread safety: none; records are made and destroyed while the loader runs.
class OSUPT_API ModuleData {
public:
    /// With controlsGlobals a derived class creates and destroys process-wide objects.
    explicit ModuleData(bool controlsGlobals);
    ModuleData(const ModuleData&) = delete;
    ModuleData& operator=(const ModuleData&) = delete;
    virtual ~ModuleData();

    /// Called while the process-wide objects are created; does nothing.
    static void entry();
    /// Called while the process-wide objects are destroyed; does nothing.
    static void exit();

    /// The newest record of the list of modules. Nothing in the library sets it.
    static ModuleData* m_pHead;

protected:
    const bool m_controlsGlobals;
    ModuleData* const m_next;      ///< m_pHead as it was at construction
    std::int32_t m_initCount = 0;  ///< how often the process-wide objects were created and not yet destroyed
};

/// A base for objects that take part in the life of a module; it has no behaviour of its own.
///
/// Thread safety: it has no state.
class OSUPT_API ModuleDataControl {
public:
    ModuleDataControl();
    virtual ~ModuleDataControl();
};

}  // namespace OrvoSupport

#endif
