// All free functions of the library and the small classes that go with them.
#ifndef ORVO_UTILITIES_H
#define ORVO_UTILITIES_H

#include "OrvoExpandString.h"
#include "OrvoFindFile.h"
#include "OrvoLibrary.h"
#include "OrvoLocaleFactory.h"
#include "OrvoProcess.h"
#include "OrvoStringUtilities.h"
#include "OrvoTokenizer.h"

#endif
