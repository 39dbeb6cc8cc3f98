// The whole exported interface of liborvik_utilities.
#ifndef ORVIK_UTILITIES_H
#define ORVIK_UTILITIES_H

#include <orvik_utilities/export.h>
#include <orvik_utilities/numbers/Base64.h>
#include <orvik_utilities/numbers/Converters.h>
#include <orvik_utilities/numbers/IntegerText.h>
#include <orvik_utilities/text/Format.h>
#include <orvik_utilities/text/String.h>

// IP addressing
#include <orvik_utilities/net/IpAddress.h>

// hashing and message authentication
#include <orvik_utilities/crypto/AuthenticationContext.h>
#include <orvik_utilities/crypto/HashContext.h>
#include <orvik_utilities/crypto/HmacContext.h>
#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>

#endif
