#!/bin/sh
# Compares what the library exports with the checked-in list: check-exports.sh LIBRARY LIST [OBJDUMP]
#
# The list is tests/install/exports/LIST.txt, readable names in order. A change of the list is a change of the
# interface: look at it, then let OSUPT_UPDATE_EXPORTS=1 write it. Copies of the standard library's own templates do
# not count.
set -u
library=$1
list=$(cd "$(dirname "$0")/.." && pwd)/tests/install/exports/$2.txt
objdump=${3:-objdump}

names() {
    case $library in
    *.dll)
        # 32-bit Windows names lack the leading underscore that the demangler expects.
        "$objdump" -p "$library" |
            sed -n '/\[Ordinal\/Name Pointer\] Table/,$s/^[[:space:]]*\[ *[0-9]*\].* \([^ ]*\)$/\1/p' |
            sed 's/^Z/_Z/' | c++filt
        ;;
    *)
        # Weak functions are inline copies that come and go with the optimiser, but for the property stores, whose
        # four instances the library gives.
        nm -D --defined-only -C "$library" | sed 's/^[0-9a-f]* //; s/@@.*//' |
            awk '$1 != "W" || /OrvoPropert(ies|yIterator)</' | sed 's/^. //'
        ;;
    esac
}

found=$(names | grep -E 'OrvoSupport::|LockBase|LockImplementation|^Module' |
    grep -vE '^[^(]*(std::|__gnu_cxx::)[^(]*<OrvoSupport' | LC_ALL=C sort -u)

if [ -n "${OSUPT_UPDATE_EXPORTS:-}" ]; then
    mkdir -p "$(dirname "$list")"
    printf '%s\n' "$found" >"$list"
    exit 0
fi
printf '%s\n' "$found" | diff -u "$list" - && echo "exports as listed"
