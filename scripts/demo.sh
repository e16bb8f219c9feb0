# Part of ./dev, which reads it: shows the sample host at work.
# shellcheck shell=sh disable=SC2154  # root and the functions used come from ./dev

# The inbox of the demonstration: files of different kinds and names.
fill_inbox() {
    for number in 01 02 03 04 05 06 07 08 09 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24; do
        yes "order $number; 3 screws; 4,50 EUR" | head -n "$number" >"$1/order-$number.csv"
    done
    printf 'With blanks in its name.\n' >"$1/a letter to the editor.txt"
    printf 'Two dots and more.\n' >"$1/report.2024.final.txt"
    printf 'Umlauts in name and text: \303\204\303\226\303\234\n' >"$1/$(printf 'Gr\303\274\303\237e aus K\303\266ln').txt"
    printf 'No extension.\n' >"$1/README"
    printf '%%s is not a format here\n' >"$1/100% sure.txt"
    printf 'A quote'"'"'s worth.\n' >"$1/it's here.txt"
    printf '{"key": [1, 2, 3]}\n' >"$1/data.json"
    printf '<a><b/></a>\n' >"$1/tree.xml"
    printf '\211PNG\r\n\032\n' >"$1/picture.png"
    head -c 300000 /dev/zero >"$1/zeros.bin"
    : >"$1/empty file.txt"
    : >"$1/nothing.dat"
    mkdir "$1/a folder"
    printf 'Folders are left alone.\n' >"$1/a folder/inside.txt"
}

demo() {
    folder='' command='' in_place='' windows=''
    while [ $# -gt 0 ]; do
        case $1 in
        --folder) folder=${2:?--folder needs a folder} && shift ;;
        --command) command=${2:?--command needs a command} && shift ;;
        --in-place) in_place=yes ;;
        --windows) windows=yes ;;
        *) fail "demo does not know $1; see ./dev help" ;;
        esac
        shift
    done
    [ -z "$folder" ] || [ -d "$folder" ] || fail "$folder is no folder"
    [ -z "$in_place" ] || [ -n "$folder" ] || fail '--in-place goes with --folder'

    need_build
    [ -z "$windows" ] || need_windows i686
    install_missing
    [ -z "$windows" ] || fetch_wine_i386
    preset=linux-release suffix='' native=''
    [ -z "$windows" ] || preset=windows-i686 suffix=.exe native=Z:
    demo_build "$preset"
    bin=$root/build/demo-$preset/bin

    out=$root/out/demo
    rm -rf "$out"
    mkdir -p "$out/inbox"
    inbox=$out/inbox
    if [ -n "$in_place" ]; then
        inbox=$(cd "$folder" && pwd)
    elif [ -n "$folder" ]; then
        cp -R "$folder/." "$inbox/"
    else
        fill_inbox "$inbox"
    fi
    count=$(find "$inbox" -maxdepth 1 -type f | wc -l)
    : "${command:="\"$native$bin/inspect$suffix\" <FILE>"}"
    printf '%s\n' "watch=$native$inbox" 'pattern=*' "command=$command" "log=$native$out/dropfolder" 'level=4' \
        >"$out/dropfolder.properties"

    say "dev: dropfolder works through $inbox ($count files) with these settings:"
    sed 's/^/    /' "$out/dropfolder.properties"
    say ''
    # Some files of the demonstration are meant to fail (1); a run that could not work is an error (2 and more).
    result=0
    if [ -n "$windows" ]; then
        OSUPT_WINEPREFIX=$root/build/demo-$preset/wine "$root/cmake/run-wine.sh" "$bin/dropfolder.exe" run \
            --once "--config=Z:$out/dropfolder.properties" || result=$?
    else
        "$bin/dropfolder" run --once "--config=$out/dropfolder.properties" || result=$?
    fi

    [ "$result" -lt 2 ] || fail "dropfolder could not work (exit code $result)"
    today=$(cd "$inbox/done" && ls -t | head -n 1)
    say ''
    printf '%-10s %5s  %s\n' \
        outcome files where \
        'done' "$(count_files "$inbox/done/$today")" "$inbox/done/$today/" \
        failed "$(count_files "$inbox/failed")" "$inbox/failed/" \
        left "$(find "$inbox" -maxdepth 1 -type f | wc -l)" "$inbox/" \
        log "$(wc -l <"$out/dropfolder.log")" "$out/dropfolder.log (lines)"
}

count_files() { find "$1" -type f 2>/dev/null | wc -l; }

# The library and the example only: who wants to see it run need not have what the tests need.
demo_build() {
    log=$root/build/demo-$1.log
    mkdir -p "$root/build"
    say "dev: building the library and dropfolder ($1)"
    (
        cd "$root"
        cmake --preset "$1" -B "build/demo-$1" -DOSUPT_BUILD_TESTS=OFF -DOSUPT_BUILD_BENCHMARKS=OFF &&
            cmake --build "build/demo-$1"
    ) >"$log" 2>&1 || {
        cat "$log"
        fail 'the demonstration does not build'
    }
}
