// The whole exported interface of liborvik_utilities.
#ifndef ORVIK_UTILITIES_H
#define ORVIK_UTILITIES_H

#include <orvik_utilities/export.h>
#include <orvik_utilities/text/Format.h>
#include <orvik_utilities/text/String.h>

#include <orvik_utilities/system/KelvoInformation.h>
#include <orvik_utilities/system/LedControl.h>
#include <orvik_utilities/system/LogInit.h>
#include <orvik_utilities/system/Watchdog.h>

#endif
