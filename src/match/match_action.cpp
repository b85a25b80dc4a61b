#include "match/match_action.h"

#include <utility>

#include "zinc/text.h"

namespace TmxPLC {

struct CTmxMatchAction::DescriptionRecord {
    MatchParam<WideText> pair;
    std::string narrow;  // no part of the value
};

CTmxMatchAction::CTmxMatchAction(const CTmxMatchAction& other) : CTmxMessage(other) {
    if (other.description_)
        description_.reset(new DescriptionRecord{other.description_->pair, std::string()});
}

void CTmxMatchAction::Drop::operator()(DescriptionRecord* record) const noexcept { delete record; }

const MatchParam<WideText>& CTmxMatchAction::Description() const noexcept {
    static const MatchParam<WideText> none;
    return description_ ? description_->pair : none;
}

void CTmxMatchAction::SetDescription(WideText text) {
    if (!description_) description_.reset(new DescriptionRecord);
    description_->pair.Value = std::move(text);
    description_->pair.IsSet = true;
}

void CTmxMatchAction::ClearDescription() noexcept {
    if (description_) description_->pair.IsSet = false;
}

const std::string& CTmxMatchAction::NarrowDescription() {
    description_->narrow = Zinc::WideToAnsi(description_->pair.Value.view());
    return description_->narrow;
}

}  // namespace TmxPLC
