#!/bin/sh
# Runs a Windows program of this build under Wine: run-wine.sh PROGRAM [ARGUMENT ...]
#
# The Wine prefix belongs to the build tree the program lies in (or OSUPT_WINEPREFIX names one), and is
# made on first use. 32-bit programs need Wine's i386 PE libraries, which `./dev` fetches once.
set -eu

program=$1
prefix=${OSUPT_WINEPREFIX:-}
if [ -z "$prefix" ]; then
    folder=$(cd "$(dirname "$program")" && pwd)
    while [ "$folder" != / ] && [ ! -e "$folder/CMakeCache.txt" ]; do folder=$(dirname "$folder"); done
    if [ "$folder" = / ]; then
        echo "run-wine.sh: $program lies in no build tree; set OSUPT_WINEPREFIX" >&2
        exit 2
    fi
    prefix=$folder/wine
fi

cache=${OSUPT_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/osupt}
WINEPREFIX=$prefix
WINEDLLPATH=$cache/wine-i386/i386-windows
WINEDEBUG=${WINEDEBUG:--all}
export WINEPREFIX WINEDLLPATH WINEDEBUG
export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe=d'
unset DISPLAY
# File names are UTF-8 whatever the terminal speaks.
case ${LC_ALL:-${LC_CTYPE:-${LANG:-}}} in *[Uu][Tt][Ff]*) ;; *) export LC_ALL=C.UTF-8 ;; esac

wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
if [ ! -e "$prefix/ready" ]; then
    mkdir -p "$prefix"
    (
        flock 9
        if [ ! -e "$prefix/ready" ]; then
            # The first program has the prefix made. `wineboot --init` would do so too, but then start a second
            # manager of services beside the first, and programs would talk to the one or to the other.
            timeout 180 "$wine" cmd /c exit >"$prefix/boot.log" 2>&1 && : >"$prefix/ready"
        fi
    ) 9>"$prefix.lock"
fi
# Wine's own processes, which may stay after the program, get its standard error too. Whoever reads that from a pipe
# up to its end must not wait for them.
if [ -p /dev/fd/2 ]; then
    errors=$(mktemp)
    code=0
    "$wine" "$@" 2>"$errors" || code=$?
    cat "$errors" >&2
    rm -f "$errors"
    exit "$code"
fi
exec "$wine" "$@"
