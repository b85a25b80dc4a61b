// Finds the end of one stored action, or the place where its bytes can't be read and why.
//
// The binary form has no length, and the library reads an action that ends early as far as it
// goes. So a stream can't be cut into actions by trying: the walker goes over the fields that the
// catalogue names, and tells a field that has not come yet from one that is not there.
#ifndef TMXACT_BINARY_WALKER_H
#define TMXACT_BINARY_WALKER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "facts.h"

namespace tmxact {

class BinaryWalker {
  public:
    enum class Outcome { kComplete, kNeedsMore, kBroken };

    explicit BinaryWalker(std::size_t largestAction) : largest_(largestAction) {}

    void Begin();

    // Goes on; bytes begins at the action. last tells that nothing more will come.
    Outcome Walk(std::string_view bytes, bool last);

    // Where the walk stands: behind the action, or at the field that can't be read.
    std::size_t Position() const noexcept { return position_; }
    const std::string& Reason() const noexcept { return reason_; }
    const ActionFacts* Action() const noexcept { return action_; }
    bool IsTemplate() const noexcept { return template_; }
    // Of a template that was read: whether this parameter is set.
    bool IsSet(std::size_t parameter) const { return set_[parameter + 1]; }
    // Whether the action ended in its property block.
    bool HasProperties() const noexcept { return properties_; }

    // Whether bytes begin like a stored action or template (of which there may be one byte only).
    static bool BeginsLikeAction(std::string_view bytes) noexcept;

  private:
    enum class Stage { kClass, kCode, kFlag, kValue, kBlock, kPairs };
    enum class Step { kDone, kMore, kBroken };

    std::size_t Left() const noexcept { return bytes_.size() - position_; }
    std::uint32_t Number(std::size_t at) const noexcept;
    const ParameterFacts& Parameter() const;
    std::size_t Count() const;
    bool Optional() const;
    std::string Naming() const;
    Step Broken(std::string reason);
    Step OutOfBytes();
    Step Fixed(std::size_t size);
    Step Text(std::size_t unit);
    Step Value();
    Step Block(bool& ends);

    std::size_t largest_;
    std::string_view bytes_;
    bool last_ = false;

    Stage stage_ = Stage::kClass;
    std::size_t position_ = 0;
    bool template_ = false;
    bool properties_ = false;
    const ActionFacts* action_ = nullptr;
    std::size_t parameter_ = 0;  // of a template, 0 is the description
    std::vector<bool> set_;      // of a template, by parameter_
    const char* program_ = "";   // what is left of the present value
    std::uint32_t pairTexts_ = 0;
    std::string reason_;
};

}  // namespace tmxact

#endif
