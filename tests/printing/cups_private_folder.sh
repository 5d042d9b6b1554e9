#!/bin/bash
# Runs the CUPS test from a copy inside a folder that only its owner may enter (mode 0700), as
# a clone in /root or under mktemp -d sits: the print server's backends, which run as lp, must
# not need to reach anything under the checkout. Exits as the CUPS test does (77: skipped).
set -u
script=$1
client=$2
private=$(mktemp -d)
chmod 700 "$private"
trap 'rm -rf "$private"' EXIT
copy=$private/oquivran
mkdir -p "$copy/tests/printing" "$copy/build/tests/printing"
cp "$script" "$copy/tests/printing/"
cp "$client" "$copy/build/tests/printing/"
cd "$copy/build/tests/printing" || exit 1
OQUIVRAN_TEST_WORKDIR=$copy/build/tests/printing/work \
    "$copy/tests/printing/$(basename "$script")" "$copy/build/tests/printing/$(basename "$client")"
