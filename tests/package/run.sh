#!/usr/bin/env bash
# Installs a build into a scratch prefix, moves what was installed elsewhere, and uses it there as a
# stranger would: by find_package and by pkg-config. Then looks at the library itself: its SONAME,
# what it exports and needs, its size and its hardening.
#
# usage: run.sh BUILD_DIR SOURCE_DIR
set -euo pipefail

# What the library asks of a system at the most; raising one is a change of the product.
readonly MAX_GLIBC=2.36 MAX_GLIBCXX=3.4.29 MAX_CXXABI=1.3.13
readonly MAX_STRIPPED_SIZE=$((4 * 1024 * 1024))
readonly SONAME=libtmxactions.so.1
readonly ALLOWED_NEEDED="libc.so.6 libm.so.6 libstdc++.so.6 libgcc_s.so.1 ld-linux-x86-64.so.2"

if [[ $# -ne 2 ]]; then
    echo "usage: ${0##*/} BUILD_DIR SOURCE_DIR" >&2
    exit 2
fi
build=$(cd "$1" && pwd)
source=$(cd "$2" && pwd)
here=$source/tests/package
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

say() { printf '%s\n' "$*"; }
fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}
# quietly COMMAND...: shows what the command printed only if it fails.
quietly() {
    if ! "$@" >"$scratch/log" 2>&1; then
        cat "$scratch/log" >&2
        fail "$*"
    fi
}

# ---- Install, and move ----
quietly cmake --install "$build" --prefix "$scratch/first"
mkdir "$scratch/elsewhere"
mv "$scratch/first" "$scratch/elsewhere/moved"
prefix=$scratch/elsewhere/moved
library=$(find "$prefix" -name 'libtmxactions.so.*.*.*' -type f)
[[ -f $library ]] || fail "no library was installed"
libdir=${library%/*}

for file in \
    "$libdir/libtmxactions.so" "$libdir/$SONAME" \
    "$libdir"/cmake/TmxActions/TmxActions{Config,ConfigVersion,Targets}.cmake \
    "$libdir/pkgconfig/tmxactions.pc" \
    "$prefix"/include/tmxactions/{tmxactions.h,types.h,functions.h,constants.h,typed.h,actions.def} \
    "$prefix"/share/doc/tmxactions/{README.md,LICENSE,docs/architecture.md}; do
    [[ -e $file ]] || fail "not installed: ${file#"$prefix"/}"
done
for link in libtmxactions.so "$SONAME"; do
    [[ -L $libdir/$link && $(readlink -f "$libdir/$link") == "$library" ]] ||
        fail "$link is no link to the library"
done
for path in "$scratch/first" "$build" "$source"; do
    if grep -rIlF -- "$path" "$prefix" >"$scratch/log"; then
        cat "$scratch/log" >&2
        fail "installed files name the directory $path"
    fi
done
say "installed and moved: $(find "$prefix" -type f | wc -l) files"

# ---- Use by find_package ----
quietly cmake -S "$here" -B "$scratch/by-cmake" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$prefix"
quietly cmake --build "$scratch/by-cmake"
# A major version other than the package's own must be refused.
sed 's/TmxActions 1 CONFIG/TmxActions 2 CONFIG/' "$here/CMakeLists.txt" >"$scratch/log2"
mkdir "$scratch/wrong" && cp "$here"/use_c.c "$here"/use_cxx.cpp "$scratch/wrong"
cp "$scratch/log2" "$scratch/wrong/CMakeLists.txt"
if cmake -S "$scratch/wrong" -B "$scratch/wrong/build" -DCMAKE_PREFIX_PATH="$prefix" \
    >"$scratch/log" 2>&1; then
    fail "the package was taken for its version 2"
fi
grep -q 'version: 1\.' "$scratch/log" || fail "version 2 was refused, but not for its version"
say "find_package: both programs built, version 2 refused"

# ---- Use by pkg-config ----
export PKG_CONFIG_PATH=$libdir/pkgconfig
quietly pkgconf --validate tmxactions
version=$(pkgconf --modversion tmxactions)
[[ -n $version ]] || fail "pkg-config knows no version"
mkdir "$scratch/by-pkgconf"
read -ra flags <<<"$(pkgconf --cflags --libs tmxactions)"
[[ $(pkgconf --variable=prefix tmxactions) -ef $prefix ]] ||
    fail "pkg-config tells another prefix: $(pkgconf --variable=prefix tmxactions)"
quietly "${CC:-cc}" -std=c99 -Wall -Wextra -Wpedantic -Werror -o "$scratch/by-pkgconf/use_c" \
    "$here/use_c.c" "${flags[@]}"
quietly "${CXX:-c++}" -std=c++11 -Wall -Wextra -Wpedantic -Werror -o "$scratch/by-pkgconf/use_cxx" \
    "$here/use_cxx.cpp" "${flags[@]}"
say "pkg-config: valid, version $version, both programs built"

# The examples of the README are what a stranger tries first.
for example in c:"${CC:-cc} -std=c99" cpp:"${CXX:-c++} -std=c++11"; do
    IFS=: read -r language command <<<"$example"
    sed -n "/^\`\`\`$language\$/,/^\`\`\`\$/{/^\`\`\`/!p}" "$source/README.md" >"$scratch/readme.$language"
    [[ -s $scratch/readme.$language ]] || fail "the README has no example in $language"
    read -ra compiler <<<"$command"
    quietly "${compiler[@]}" -Wall -Wextra -Wpedantic -Werror -o "$scratch/by-pkgconf/readme_$language" \
        "$scratch/readme.$language" "${flags[@]}"
done
[[ $(LD_LIBRARY_PATH=$libdir "$scratch/by-pkgconf/readme_c") == "output 4 to state 1" ]] ||
    fail "the example in C tells something else"
[[ $(LD_LIBRARY_PATH=$libdir "$scratch/by-pkgconf/readme_cpp") == "CameraOn (5)" ]] ||
    fail "the example in C++ tells something else"
say "README: both examples built and run"

# ---- Run ----
for way in by-cmake by-pkgconf; do
    for program in use_c use_cxx; do
        path=
        [[ $way == by-pkgconf ]] && path=$libdir
        if ! LD_LIBRARY_PATH=$path "$scratch/$way/$program" >"$scratch/log" 2>&1; then
            cat "$scratch/log" >&2
            fail "$program, built $way"
        fi
        say "$way/$program: $(cat "$scratch/log")"
    done
done
if [[ -x $prefix/bin/tmxact ]]; then
    env -u LD_LIBRARY_PATH "$prefix/bin/tmxact" --version >"$scratch/log" 2>&1 ||
        fail "the moved tmxact: $(cat "$scratch/log")"
    say "moved tmxact: $(head -n 1 "$scratch/log")"
fi

# ---- The library itself ----
dynamic=$(readelf --dynamic --wide "$library")
soname=$(sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p' <<<"$dynamic")
[[ $soname == "$SONAME" ]] || fail "SONAME is $soname, not $SONAME"
while read -r needed; do
    [[ " $ALLOWED_NEEDED " == *" $needed "* ]] || fail "the library needs $needed"
done < <(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic")
if grep -qE '\((RPATH|RUNPATH|TEXTREL)\)' <<<"$dynamic"; then
    fail "the library has a search path or text relocations"
fi
grep -qE '\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW' <<<"$dynamic" || fail "not linked with -z now"
segments=$(readelf --program-headers --wide "$library")
grep -q 'GNU_RELRO' <<<"$segments" || fail "not linked with -z relro"
if grep -E 'GNU_STACK' <<<"$segments" | grep -qE 'RWE'; then
    fail "the stack is executable"
fi

# newest PREFIX: the highest version of that kind that the library asks for.
versions=$(readelf --version-info --wide "$library")
newest() { grep -oE "\b$1_[0-9]+(\.[0-9]+)*" <<<"$versions" | sed "s/^$1_//" | sort -uV | tail -n 1; }
# within KIND LIMIT
within() {
    local found
    found=$(newest "$1")
    [[ -n $found ]] || fail "no version of $1 is asked for"
    [[ $(printf '%s\n%s\n' "$found" "$2" | sort -V | tail -n 1) == "$2" ]] ||
        fail "the library asks for $1_$found; $1_$2 is the most"
    say "$1_$found (at the most $1_$2)"
}
# Packed relocations: a dynamic linker that knows them came with glibc 2.36.
grep -q 'GLIBC_ABI_DT_RELR' <<<"$versions" || fail "relocations are not packed"
within GLIBC "$MAX_GLIBC"
within GLIBCXX "$MAX_GLIBCXX"
within CXXABI "$MAX_CXXABI"

python3 -B "$here/check_exports.py" "$library" "$source"

strip -o "$scratch/stripped" "$library"
size=$(stat -c %s "$scratch/stripped")
((size < MAX_STRIPPED_SIZE)) || fail "stripped it has $size bytes; below $MAX_STRIPPED_SIZE is asked"
say "stripped: $size bytes (below $MAX_STRIPPED_SIZE)"
say "the package is sound"
