// The base of all templates.
#pragma once

#include <memory>
#include <string>

#include "match/match_parameter.h"
#include "objects/message.h"

namespace TmxPLC {

/// A template of one action: the same parameters in the same order, each a pair, and a description.
class CTmxMatchAction : public CTmxMessage {
  public:
    /// Whether this and the other, a template of any action, are the same template: the same
    /// parameters are set, and their values agree. The description takes no part.
    virtual bool Equal(const CTmxMatchAction& other) const = 0;

    /// Whether the action has this template's code and all set parameters agree with it. Most
    /// templates that an action meets are of another code: they fall out before any call.
    bool Matches(const CTmxAction& action) const {
        return action.code == code && AllSetAgree(action);
    }

    /// A new action with reference count 1; null where there is no memory for it. A set parameter
    /// gives its value. What isn't set comes from the source: from the same parameter where the
    /// source is of the same code, else by the roles that the source's parameters play.
    virtual CTmxAction* CreateAction(CTmxAction* source) const = 0;

    /// Spreads the set parameters over the fields of an event record, see event/event_data.h. The
    /// description isn't represented.
    virtual void GetEventData(TmxEventDataRecord& record, bool& complete) const = 0;

    /// The description; it may keep a text while it isn't set.
    const MatchParam<WideText>& Description() const noexcept;
    void SetDescription(WideText text);
    /// The text stays behind, unseen; a copy of the object takes it along.
    void ClearDescription() noexcept;
    /// The description in the ANSI code page, made anew; it lives until the next call. Only while
    /// there is one. Not for two threads at a time.
    const std::string& NarrowDescription();

  protected:
    explicit CTmxMatchAction(std::uint32_t actionCode) noexcept : CTmxMessage(actionCode) {}
    CTmxMatchAction(const CTmxMatchAction& other);
    TMX_FORCE_INLINE ~CTmxMatchAction() override {}

    /// The action is one of this template's code.
    virtual bool AllSetAgree(const CTmxAction& action) const = 0;

  private:
    // Most templates have none, so that it is made with the first.
    struct DescriptionRecord;
    struct Drop {
        void operator()(DescriptionRecord* record) const noexcept;
    };
    std::unique_ptr<DescriptionRecord, Drop> description_;
};

}  // namespace TmxPLC
