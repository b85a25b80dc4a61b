#include <stdlib.h>

#include "support/environment.h"

namespace tmxtest {

bool SetVariable(const char* name, const char* value) { return _putenv_s(name, value) == 0; }

}  // namespace tmxtest
