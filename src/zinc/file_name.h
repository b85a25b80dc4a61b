// The name of the process's executable.
#pragma once

#include "zinc/exceptions.h"

namespace Zinc {

inline constexpr std::size_t kMaxPath = 4096;

/// The full path of the executable, and its last part; empty if the system can't tell.
class ExecutableName {
  public:
    ExecutableName() noexcept : size_(Platform::ExecutablePath(path_, kMaxPath)) {}
    WideView Path() const noexcept { return {path_, size_}; }
    WideView Text() const noexcept {
        const std::size_t separator = Path().find_last_of(TMX_WIDE("/\\"));
        return separator == WideView::npos ? Path() : Path().substr(separator + 1);
    }

  private:
    WideChar path_[kMaxPath];
    std::size_t size_;
};

}  // namespace Zinc
