#include <cstdlib>

#include "support/environment.h"

namespace tmxtest {

bool SetVariable(const char* name, const char* value) { return setenv(name, value, 1) == 0; }

}  // namespace tmxtest
