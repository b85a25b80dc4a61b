// When two messages of one action count as equal and when a template matches, by the rule of each
// parameter type.
#ifndef TMX_TESTS_SUPPORT_REFERENCE_EQUAL_H
#define TMX_TESTS_SUPPORT_REFERENCE_EQUAL_H

#include "support/model.h"

namespace tmxtest {

// Wide texts: case folded for the letters of Latin-1, Greek, Cyrillic and Deseret, which is all
// that the tests compare.
bool EqualWide(const WideString& a, const WideString& b);

// a stands on the left: for references it chooses what is compared.
bool EqualByRule(const ParameterFacts& parameter, const Value& a, const Value& b);

bool EqualByRule(const ActionFacts& action, const Values& a, const Values& b);

// Two messages: the class and the code count, the description doesn't.
bool EqualByRule(const Message& a, const Message& b);

// Whether an action is one of those that the template describes. An absent parameter of the action
// counts as what a new action holds there.
bool MatchesByRule(const Message& match, const Message& action);

}  // namespace tmxtest

#endif
