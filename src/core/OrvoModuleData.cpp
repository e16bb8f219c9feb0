#include "OrvoModuleData.h"

namespace OrvoSupport {

ModuleData* ModuleData::m_pHead = nullptr;

ModuleData::ModuleData(bool controlsGlobals) : m_controlsGlobals(controlsGlobals), m_next(m_pHead) {}

ModuleData::~ModuleData() = default;

void ModuleData::entry() {}

void ModuleData::exit() {}

ModuleDataControl::ModuleDataControl() = default;

ModuleDataControl::~ModuleDataControl() = default;

}  // namespace OrvoSupport
