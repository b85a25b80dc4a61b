/* The whole interface from a C program: links the files that include each header alone, and fails
 * where one of them finds something amiss. Compiled as C99 and as C11. */
#include <stdio.h>
#include <tmxactions/tmxactions.h>

int header_types_c(void);
int header_constants_c(void);
int header_functions_c(void);
int header_typed_c(void);
int header_actions_def_c(void);

static int check(const char* name, int good) {
    if (!good) fprintf(stderr, "%s failed\n", name);
    return good;
}

int main(void) {
    int good = 1;
    good = check("types.h", header_types_c()) && good;
    good = check("constants.h", header_constants_c()) && good;
    good = check("functions.h", header_functions_c()) && good;
    good = check("typed.h", header_typed_c()) && good;
    good = check("actions.def", header_actions_def_c()) && good;
    good = check("open handles", TmxAct_GetNumberOfOpenHandles() == 0) && good;
    return good ? 0 : 1;
}
