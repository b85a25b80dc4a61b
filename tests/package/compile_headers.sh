#!/usr/bin/env bash
# Compiles every public header alone, twice over, in every supported language with every compiler at
# hand, with the strictest warnings as errors.
#
# usage: compile_headers.sh BUILD_DIR SOURCE_DIR
set -euo pipefail

if [[ $# -ne 2 ]]; then
    echo "usage: ${0##*/} BUILD_DIR SOURCE_DIR" >&2
    exit 2
fi
directories=("$2/include" "$1/generated/include")
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wundef -Werror)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

compilers_c=() compilers_cxx=()
command -v gcc >/dev/null && compilers_c+=(gcc)
command -v clang >/dev/null && compilers_c+=(clang)
command -v g++ >/dev/null && compilers_cxx+=(g++)
command -v clang++ >/dev/null && compilers_cxx+=(clang++)
if [[ ${#compilers_c[@]} -eq 0 || ${#compilers_cxx[@]} -eq 0 ]]; then
    echo "no compiler found" >&2
    exit 1
fi

count=0 failures=0
# compile COMPILER STANDARD FILE [FLAG...]
compile() {
    count=$((count + 1))
    if ! "$1" "-std=$2" "${warnings[@]}" "${@:4}" -fsyntax-only \
        "-I${directories[0]}" "-I${directories[1]}" "$3"; then
        echo "FAILED: $1 -std=$2 ${3##*/}" >&2
        failures=$((failures + 1))
    fi
}
# in_every_language NAME TEXT
in_every_language() {
    printf '%s' "$2" | tee "$scratch/$1.c" >"$scratch/$1.cpp"
    for standard in c99 c11 c17; do
        for compiler in "${compilers_c[@]}"; do
            compile "$compiler" "$standard" "$scratch/$1.c" -Wstrict-prototypes
        done
    done
    for standard in c++11 c++17 c++20; do
        for compiler in "${compilers_cxx[@]}"; do
            compile "$compiler" "$standard" "$scratch/$1.cpp"
        done
    done
}

headers=0
for directory in "${directories[@]}"; do
    for header in "$directory"/tmxactions/*.h; do
        name=${header##*/}
        in_every_language "${name%.h}" "#include <tmxactions/$name>
#include <tmxactions/$name>
extern int unit_is_not_empty;
"
        headers=$((headers + 1))
    done
done
if ((headers < 5)); then
    echo "only $headers public headers found" >&2
    exit 1
fi

# The list of actions goes with the headers: counted twice with its macros, which it must undefine.
in_every_language actions_def '#include <tmxactions/constants.h>
#define TMX_ACTION(code, name, typed) name##_is_there = (code),
enum {
#include <tmxactions/actions.def>
    no_action = 0
};
#define TMX_PARAMETER(code, name, type, kind, optional) + 1
#define TMX_ACTION(code, name, typed) + 0
enum { parameters = 0
#include <tmxactions/actions.def>
};
typedef char there_are_parameters[parameters > 0 ? 1 : -1];
typedef char codes_agree[(int)CameraOn_is_there == (int)TmxActionCode_CameraOn ? 1 : -1];
'
echo "$headers headers and the list of actions: $count compilations, $failures failures"
((failures == 0))
