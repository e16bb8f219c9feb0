#!/bin/sh
# Counts what a ctest run did, test case by test case: count-tests.sh RESULTS prints "PASSED FAILED SKIPPED".
#
# RESULTS holds ctest.xml (JUnit) and a NAME.xml of each GoogleTest program. A program that ctest calls failed
# counts as one failure at least, whatever its own report says: it may have crashed or hung before or after.
set -u
cd "$1" || exit 2

# The value of attribute $2 in the first <testsuites> element of file $1.
attribute() { sed -n "s/.*<testsuites.* $2=\"\([0-9]*\)\".*/\1/p;/<testsuites/q" "$1"; }

passed=0 failed=0 skipped=0
list=$(sed -n 's/.*<testcase name="\([^"]*\)".* status="\([^"]*\)".*/\1 \2/p' ctest.xml)
while read -r name status; do
    [ -n "$name" ] || continue
    tests=1 bad=0 out=0
    if [ -s "$name.xml" ]; then
        tests=$(attribute "$name.xml" tests)
        bad=$(($(attribute "$name.xml" failures) + $(attribute "$name.xml" errors)))
        out=$(grep -c 'result="skipped"' "$name.xml")
    elif [ "$status" != run ] && [ "$status" != fail ]; then
        out=1
    fi
    if [ "$status" = fail ] && [ "$bad" -eq 0 ]; then
        bad=1
        [ "$tests" -gt "$out" ] || tests=$((tests + 1))
    fi
    passed=$((passed + tests - bad - out)) failed=$((failed + bad)) skipped=$((skipped + out))
done <<END
$list
END
# A run that ctest did not get through, or that had no tests, is no success.
[ -n "$list" ] || failed=1
echo "$passed $failed $skipped"
