#!/bin/sh
# Compiles each public header alone, as a host includes it: check-headers.sh COMPILER [HEADER-BEFORE-IT]
set -u
compiler=$1
before=${2:-}
cd "$(dirname "$0")/../include" || exit 2
failures=0

for header in *.h; do
    # Included twice: a missing guard shows.
    {
        [ -n "$before" ] && echo "#include <$before>"
        printf '#include <%s>\n#include <%s>\nint main() { return 0; }\n' "$header" "$header"
    } | "$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only -I. -x c++ - ||
        { echo "$header does not compile${before:+ after <$before>}"; failures=$((failures + 1)); }
done
[ "$failures" -eq 0 ]
