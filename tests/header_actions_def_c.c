/* actions.def in C: one table of the codes and one of the counts of parameters. */
#include <tmxactions/constants.h>

int header_actions_def_c(void);

static const int codes[] = {
#define TMX_ACTION(code, name, typed) TmxActionCode_##name,
#include <tmxactions/actions.def>
};

static const int optionals[] = {
#define TMX_PARAMETER(code, name, type, kind, optional) optional,
#include <tmxactions/actions.def>
};

int header_actions_def_c(void) {
    unsigned i;
    int sum = 0;
    for (i = 0; i < sizeof optionals / sizeof optionals[0]; ++i) sum += optionals[i];
    return sizeof codes / sizeof codes[0] == 353 && codes[0] == 1 && sum > 0;
}
