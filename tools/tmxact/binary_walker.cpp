#include "binary_walker.h"

#include <algorithm>
#include <utility>

namespace tmxact {

namespace {

// The most pairs of a property block that are read.
constexpr std::uint32_t kMostProperties = 1000;

// A value as a row of fields: digits are sizes in bytes (6 stands for 16), A is a narrow and W a
// wide text behind its count.
const char* ProgramOf(std::uint32_t type) {
    switch (type) {
        case TmxParamType_Int64:
        case TmxParamType_DateTime:
        case TmxParamType_Double:
        case TmxParamType_Rect:
            return "8";
        case TmxParamType_AnsiText:
            return "A";
        case TmxParamType_WideText:
        case TmxParamType_DataSet:
            return "W";
        case TmxParamType_Bool:
            return "1";
        case TmxParamType_Guid:
            return "6";
        case TmxParamType_NamedId:
            return "8W";
        case TmxParamType_ObjectRef:
            return "84W";
        case TmxParamType_GuidRef:
            return "6W";
        default:
            return "4";
    }
}

}  // namespace

bool BinaryWalker::BeginsLikeAction(std::string_view bytes) noexcept {
    if (bytes.empty() || (bytes[0] != 1 && bytes[0] != 2)) return false;
    return std::all_of(bytes.begin() + 1,
                       bytes.begin() + std::min<std::ptrdiff_t>(4, std::ssize(bytes)),
                       [](char c) { return c == 0; });
}

void BinaryWalker::Begin() {
    stage_ = Stage::kClass;
    position_ = 0;
    template_ = false;
    properties_ = false;
    action_ = nullptr;
    parameter_ = 0;
    program_ = "";
    pairTexts_ = 0;
    reason_.clear();
}

BinaryWalker::Outcome BinaryWalker::Walk(std::string_view bytes, bool last) {
    bytes_ = bytes;
    last_ = last;
    for (;;) {
        Step step = Step::kDone;
        bool ends = false;
        switch (stage_) {
            case Stage::kClass:
                if (!BeginsLikeAction(bytes_.substr(0, 4))) {
                    step = Broken("expected a message class of 1 or 2");
                } else if (step = Fixed(4); step == Step::kDone) {
                    template_ = bytes_[0] == 2;
                    stage_ = Stage::kCode;
                }
                break;
            case Stage::kCode:
                if (Left() < 4) {
                    step = OutOfBytes();
                    break;
                }
                action_ = Facts::Get().ByCode(Number(position_));
                if (action_ == nullptr) {
                    step = Broken("unknown action code " + std::to_string(Number(position_)));
                    break;
                }
                if (template_) set_.assign(Count(), false);
                position_ += 4;
                stage_ = Stage::kFlag;
                break;
            case Stage::kFlag:
                if (parameter_ == Count()) {
                    if (template_) return Outcome::kComplete;
                    stage_ = Stage::kBlock;
                    break;
                }
                if (Optional()) {
                    // An older writer's action may end ahead of any optional field.
                    if (Left() == 0 && last_) {
                        ++parameter_;
                        break;
                    }
                    if (Left() == 0) {
                        step = Step::kMore;
                        break;
                    }
                    if (bytes_[position_++] == 0) {
                        ++parameter_;
                        break;
                    }
                }
                if (template_) set_[parameter_] = true;
                program_ = ProgramOf(Parameter().type);
                stage_ = Stage::kValue;
                break;
            case Stage::kValue:
                step = Value();
                break;
            case Stage::kBlock:
            case Stage::kPairs:
                step = Block(ends);
                if (ends) return Outcome::kComplete;
                break;
        }
        if (step == Step::kMore) return Outcome::kNeedsMore;
        if (step == Step::kBroken) return Outcome::kBroken;
    }
}

std::uint32_t BinaryWalker::Number(std::size_t at) const noexcept {
    std::uint32_t number = 0;
    for (std::size_t i = 4; i > 0; --i)
        number = (number << 8) | static_cast<unsigned char>(bytes_[at + i - 1]);
    return number;
}

const ParameterFacts& BinaryWalker::Parameter() const {
    if (!template_) return action_->parameters[parameter_];
    return parameter_ == 0 ? Facts::Get().Description() : action_->parameters[parameter_ - 1];
}

std::size_t BinaryWalker::Count() const { return action_->parameters.size() + (template_ ? 1 : 0); }

bool BinaryWalker::Optional() const { return template_ || Parameter().optional; }

std::string BinaryWalker::Naming() const {
    if (action_ == nullptr) return {};
    if (stage_ == Stage::kPairs || stage_ == Stage::kBlock)
        return action_->name + ": the property block: ";
    if (stage_ != Stage::kFlag && stage_ != Stage::kValue) return action_->name + ": ";
    const ParameterFacts& facts = Parameter();
    if (template_ && parameter_ == 0) return action_->name + ": the description: ";
    return action_->name + ": parameter " + std::to_string(parameter_ + (template_ ? 0 : 1)) +
           ", " + facts.name + " (" + TypeText(facts) + "): ";
}

BinaryWalker::Step BinaryWalker::Broken(std::string reason) {
    reason_ = Naming() + std::move(reason);
    return Step::kBroken;
}

BinaryWalker::Step BinaryWalker::OutOfBytes() {
    if (!last_) return Step::kMore;
    return Broken("the bytes end in the middle of the action");
}

BinaryWalker::Step BinaryWalker::Fixed(std::size_t size) {
    if (Left() < size) return OutOfBytes();
    position_ += size;
    return Step::kDone;
}

BinaryWalker::Step BinaryWalker::Text(std::size_t unit) {
    if (Left() < 4) return OutOfBytes();
    const std::uint64_t count = Number(position_);
    const std::uint64_t size = 4 + count * unit;
    if (size > largest_ || position_ + size > largest_)
        return Broken("a text of " + std::to_string(count) +
                      " characters makes the action longer than " + std::to_string(largest_) +
                      " bytes (see --max-size)");
    if (Left() < size)
        return last_ ? Broken("a text of " + std::to_string(count) +
                              " characters runs past the end of the bytes")
                     : Step::kMore;
    position_ += static_cast<std::size_t>(size);
    return Step::kDone;
}

BinaryWalker::Step BinaryWalker::Value() {
    for (; *program_ != 0; ++program_) {
        Step step = Step::kDone;
        switch (*program_) {
            case 'A':
                step = Text(1);
                break;
            case 'W':
                step = Text(2);
                break;
            case '6':
                step = Fixed(16);
                break;
            default:
                step = Fixed(static_cast<std::size_t>(*program_ - '0'));
        }
        if (step != Step::kDone) return step;
    }
    ++parameter_;
    stage_ = Stage::kFlag;
    return Step::kDone;
}

// Behind the parameters. Bytes that don't begin with the marker belong to what comes next.
BinaryWalker::Step BinaryWalker::Block(bool& ends) {
    if (stage_ == Stage::kBlock) {
        constexpr std::string_view kMarker("\x0F\xF0\0\0", 4);
        static_assert(TMX_PROPERTY_BLOCK_MARKER == 0xF00F);
        const std::string_view there = bytes_.substr(position_, kMarker.size());
        if (there != kMarker.substr(0, there.size()) || (there.empty() && last_)) {
            ends = true;
            return Step::kDone;
        }
        if (Left() < 8) return OutOfBytes();
        const std::uint32_t count = Number(position_ + 4);
        const bool negative = count > 0x7fffffffu;
        pairTexts_ = negative ? 0 : 2 * std::min(count, kMostProperties);
        position_ += 8;
        properties_ = true;
        stage_ = Stage::kPairs;
    }
    for (; pairTexts_ > 0; --pairTexts_) {
        const Step step = Text(2);
        if (step != Step::kDone) return step;
    }
    ends = true;
    return Step::kDone;
}

}  // namespace tmxact
