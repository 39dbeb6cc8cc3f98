// The interface's own constructor and destructor: the one home of its vtable.
#include <orvik_utilities/crypto/AuthenticationContext.h>

AuthenticationContext::AuthenticationContext() = default;

AuthenticationContext::~AuthenticationContext() = default;
