// The library's own module record.
#ifndef OSUPT_CORE_MODULE_H
#define OSUPT_CORE_MODULE_H

#include "OrvoModuleData.h"

/// Creates the process-wide objects when the library is loaded, and destroys them in a fixed order when it
/// is unloaded or the process ends. There is one, a static object.
class Module : public OrvoSupport::ModuleData {
public:
    explicit Module(bool controlsGlobals);
    ~Module() override;

protected:
    virtual void initGlobals();
    virtual void termGlobals();
};

#endif
