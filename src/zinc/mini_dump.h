// The parts of writing a dump that the system has no hand in: who gets told, and the file's name.
#pragma once

#include <cstdint>

#include "zinc/exceptions.h"
#include "zinc/safe_text.h"

namespace Zinc::MiniDump {

inline constexpr const char* kCaption =
    "Application has been terminated / Applikation wurde beendet";

/// Makes what must be there before a crash.
void Prepare() noexcept;

/// "*" stands for any run of characters, "?" for any one; the others compare exactly. An empty
/// pattern matches everything.
bool MatchesWildcard(WideView name, WideView pattern) noexcept;

/// Whether a registry value is a number, of 32 bits: by its type, or as the decimal text that it
/// holds, with nothing but blanks before it and nothing behind it.
bool NumberOf(const Platform::RegistryValue& value, std::uint32_t& number) noexcept;

/// What MiniDumpsEnabled keeps, found out anew.
bool FindOutWhetherEnabled() noexcept;

/// The longest path of an executable, with the ending of a dump behind it.
using FileName = SafeTextOf<char, 4096 + 32>;

/// Finds the first name for a dump of that kind beside the executable that isn't taken. Where all
/// eleven are taken, deletes them and begins again.
void FindFileName(FileName& name, bool full) noexcept;

}  // namespace Zinc::MiniDump
