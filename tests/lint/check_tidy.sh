#!/usr/bin/env bash
# Runs clang-tidy over our own sources as they were compiled: check_tidy.sh SOURCE_ROOT BUILD_FOLDER
# Takes minutes, so it is a test of its own configuration: ctest -C tidy -R lint-tidy
set -euo pipefail
cd "$1"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# The warning options are gcc's; clang does not know them all.
if ! run-clang-tidy -quiet -p "$2" -extra-arg=-Wno-unknown-warning-option \
    "^$PWD/(benchmarks|host-adapter|src)/" >"$log" 2>&1; then
    # A finding in a header comes up once for each source that includes it.
    sed 's/\x1b\[[0-9;]*m//g' "$log" | grep -E '(error|warning):' | sort -u || cat "$log"
    exit 1
fi
