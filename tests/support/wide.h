// A wide literal in the width of TmxWChar, which is wchar_t where that has 16 bits.
#pragma once

#include <cwchar>

#if WCHAR_MAX <= 0xFFFF
#define TMX_WIDE(literal) L##literal
#else
#define TMX_WIDE(literal) u##literal
#endif
