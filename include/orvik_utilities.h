// The whole exported interface of liborvik_utilities.
#ifndef ORVIK_UTILITIES_H
#define ORVIK_UTILITIES_H

#include <orvik_utilities/export.h>
#include <orvik_utilities/containers/INStringHashTable.h>
#include <orvik_utilities/containers/INUInt32HashTable.h>
#include <orvik_utilities/containers/LinkedList.h>
#include <orvik_utilities/containers/NumberBag.h>
#include <orvik_utilities/text/Format.h>
#include <orvik_utilities/text/String.h>

#endif
