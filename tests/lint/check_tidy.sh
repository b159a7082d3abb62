#!/usr/bin/env bash
# Runs clang-tidy over our own sources as they were compiled: check_tidy.sh SOURCE_ROOT BUILD_FOLDER [COMMITS]
#
# With COMMITS over those alone that the last so many commits touched, themselves or their header. All of them take minutes,
# so that is a test of its own configuration: ctest -C tidy -R lint-tidy
set -euo pipefail
cd "$1"
sources=("^$PWD/(benchmarks|host-adapter|src)/")
if [[ -n ${3:-} ]]; then
    # A history shorter than that is taken whole.
    base=$(git rev-list -n 1 --skip "$3" HEAD)
    mapfile -t sources < <(
        git diff --name-only --diff-filter=d "${base:-$(git hash-object -t tree /dev/null)}" -- benchmarks host-adapter src |
            sed -nE 's/\.(cpp|h)$/.cpp/p' | sort -u | while read -r source; do [[ ! -f $source ]] || echo "^$PWD/$source$"; done)
    ((${#sources[@]})) || exit 0
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# The warning options are gcc's; clang does not know them all.
if ! run-clang-tidy -quiet -p "$2" -extra-arg=-Wno-unknown-warning-option "${sources[@]}" >"$log" 2>&1; then
    # A finding in a header comes up once for each source that includes it.
    sed 's/\x1b\[[0-9;]*m//g' "$log" | grep -E '(error|warning):' | sort -u || cat "$log"
    exit 1
fi
# A check of nothing would be no check.
grep -q clang-tidy "$log" || { cat "$log"; exit 1; }
