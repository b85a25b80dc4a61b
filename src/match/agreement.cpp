#include "match/agreement.h"

#include <algorithm>

namespace TmxPLC {

bool SameLengthTextsAgree(const WideChar* left, const WideChar* right, std::size_t length) {
    const int result = Platform::CompareIgnoreCase(left, length, right, length);
    if (result < Platform::kLessThan || result > Platform::kGreaterThan)
        Zinc::ThrowLastSystemError("CompareString");
    return result == Platform::kEqual;
}

bool Agree(const DataSet& left, const DataSet& right) noexcept {
    return std::equal(left.entries.begin(), left.entries.end(), right.entries.begin(),
                      right.entries.end(), [](const DataSetEntry& a, const DataSetEntry& b) {
                          return std::memcmp(a.words, b.words, sizeof a.words) == 0 &&
                                 a.number == b.number && a.nameText.view() == b.nameText.view();
                      });
}

}  // namespace TmxPLC
