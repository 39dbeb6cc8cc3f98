// The whole exported interface of liborvik_utilities.
#ifndef ORVIK_UTILITIES_H
#define ORVIK_UTILITIES_H

#include <orvik_utilities/export.h>

// text
#include <orvik_utilities/text/Format.h>
#include <orvik_utilities/text/String.h>

// numbers and encodings
#include <orvik_utilities/numbers/Base64.h>
#include <orvik_utilities/numbers/Converters.h>
#include <orvik_utilities/numbers/IntegerText.h>

// containers
#include <orvik_utilities/containers/INStringHashTable.h>
#include <orvik_utilities/containers/INUInt32HashTable.h>
#include <orvik_utilities/containers/LinkedList.h>
#include <orvik_utilities/containers/NumberBag.h>

// configuration and parameters
#include <orvik_utilities/config/ConfigReader.h>
#include <orvik_utilities/config/ParamList.h>

// IP addressing
#include <orvik_utilities/net/IpAddress.h>

// reachability probes
#include <orvik_utilities/net/PingClient.h>
#include <orvik_utilities/net/RawPing.h>

// device and process status
#include <orvik_utilities/system/IpInterfaceStatus.h>
#include <orvik_utilities/system/KelvoInformation.h>
#include <orvik_utilities/system/LedControl.h>
#include <orvik_utilities/system/LogInit.h>
#include <orvik_utilities/system/ProcessControl.h>
#include <orvik_utilities/system/ProcessEntry.h>
#include <orvik_utilities/system/Watchdog.h>

// hashing and message authentication
#include <orvik_utilities/crypto/AuthenticationContext.h>
#include <orvik_utilities/crypto/HashContext.h>
#include <orvik_utilities/crypto/HmacContext.h>
#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>

#endif
