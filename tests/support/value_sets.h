// Values for the parameters of any action.
#ifndef TMX_TESTS_SUPPORT_VALUE_SETS_H
#define TMX_TESTS_SUPPORT_VALUE_SETS_H

#include <string>
#include <vector>

#include "support/model.h"

namespace tmxtest {

// Every parameter present, all values different from place to place, and such that every form
// keeps them. variant 0 and 1 differ in every parameter.
Values Typical(const ActionFacts& action, unsigned variant = 0);

// The ends of the ranges and texts that are long, odd or ill-formed; the values of a parameter
// change with the variant.
Values Extreme(const ActionFacts& action, unsigned variant);
constexpr unsigned kExtremeVariants = 16;

// Every optional parameter absent, every required text a null pointer; the rest typical.
Values Absent(const ActionFacts& action);

// Every parameter present and empty: zero, an empty text, an empty reference.
Values Empty(const ActionFacts& action);

// Some optional parameters present and some absent, by the bits of the variant.
Values Mixed(const ActionFacts& action, unsigned variant);

struct NamedValues {
    std::string name;
    Values values;
};

// All of the sets above, with a few variants of each.
std::vector<NamedValues> AllSets(const ActionFacts& action);

struct NamedMessage {
    std::string name;
    Message message;
};

// Templates of an action: none set, all, each alone, all but each, random ones, and extreme values;
// with a description, with an empty one and without.
std::vector<NamedMessage> TemplateSets(const ActionFacts& action);

// Two values of one type: is b what a is compared for, and a what b is?
struct ValuePair {
    Datum a;
    Datum b;
    bool there;
    bool back;
};

// Each way to agree and to disagree.
std::vector<ValuePair> PairsOfValues(Type type);

}  // namespace tmxtest

#endif
