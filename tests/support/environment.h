// The environment of the process.
#pragma once

namespace tmxtest {

/// Sets a variable. Returns false where that can't be done.
bool SetVariable(const char* name, const char* value);

}  // namespace tmxtest
