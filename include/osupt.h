// The whole library.
#ifndef OSUPT_H
#define OSUPT_H

#include "OrvoBufferStream.h"
#include "OrvoCriticalSection.h"
#include "OrvoDateTime.h"
#include "OrvoEvent.h"
#include "OrvoException.h"
#include "OrvoExport.h"
#include "OrvoLogging.h"
#include "OrvoModuleData.h"
#include "OrvoObjectBase.h"
#include "OrvoObjectFactory.h"
#include "OrvoObjectStream.h"
#include "OrvoProgramOptions.h"
#include "OrvoProperties.h"
#include "OrvoService.h"
#include "OrvoString.h"
#include "OrvoThread.h"
#include "OrvoTimer.h"
#include "OrvoTreeNode.h"
#include "OrvoUtilities.h"
#include "OrvoVersion.h"

#endif
