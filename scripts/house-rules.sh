#!/bin/sh
# The rules of this house that a command can check. Prints each breach and fails if there is one.
set -u
cd "$(dirname "$0")/.." || exit 2
breaches=0

# report TEXT LINES: LINES are breaches of the rule TEXT.
report() {
    [ -z "$2" ] && return
    printf '%s:\n%s\n\n' "$1" "$2"
    breaches=$((breaches + $(printf '%s\n' "$2" | wc -l)))
}

sources=$(find include src tests examples bench fuzz -name '*.h' -o -name '*.cpp' 2>/dev/null | sort)
public=$(find include -name '*.h' | sort)
macros='_WIN32|_WIN64|__linux__|__unix__|__APPLE__|__MINGW|_MSC_VER|__GNUC__|__clang__|__x86_64__|__i386__'

# shellcheck disable=SC2086  # the lists are split on purpose; no file name here has a blank
{
    report 'conditionals on the system or compiler outside src/platform/ and include/OrvoExport.h' \
        "$(grep -nE "^[[:space:]]*#[[:space:]]*(if|ifdef|ifndef|elif).*($macros)" $sources |
            grep -vE '^(src/platform/|include/OrvoExport\.h:)')"

    own=$(printf '%s\n' $public | sed 's|.*/||' | tr '\n' '|' | sed 's/|$//; s/\./\\./g')
    report 'public headers that include something else than the standard library and each other' \
        "$(grep -nE '^[[:space:]]*#[[:space:]]*include' $public |
            grep -vE "<[a-z_]+>|\"($own)\"")"

    report 'types in public headers whose size depends on build options' \
        "$(grep -nwE 'time_t|off_t' $public)"

    report 'public headers without an include guard' "$(grep -LE '^#ifndef ORVO_|^#ifndef OSUPT_' $public)"
    report 'public headers that osupt.h leaves out' \
        "$(for header in $public; do
            name=${header##*/}
            [ "$name" = osupt.h ] || grep -rqF "#include \"$name\"" include/osupt.h include/OrvoUtilities.h || echo "$name"
        done)"

    report 'platform headers without both halves' \
        "$(for header in src/platform/*.h; do
            name=$(basename "$header" .h)
            grep -qE "^  $name( |\$)" src/platform/CMakeLists.txt || continue
            for system in win32 posix; do
                [ -f "src/platform/$system/$name.cpp" ] || echo "$header lacks src/platform/$system/$name.cpp"
            done
        done)"

    report 'marks of unfinished work' "$(grep -nwE 'TODO|FIXME|XXX|HACK' $sources)"
    report 'files over 400 lines in include/ and src/' \
        "$(wc -l $(printf '%s\n' $sources | grep -E '^(include|src)/') | awk '$2 != "total" && $1 > 400')"
}

# The README shows a program that really compiles.
report 'README.md does not show examples/host.cpp as it is' \
    "$(sed -n '/^```cpp$/,/^```$/p' README.md | sed '1d;$d' | diff - examples/host.cpp)"

[ "$breaches" -eq 0 ] && echo 'house rules: kept'
[ "$breaches" -eq 0 ]
