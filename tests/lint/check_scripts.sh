#!/usr/bin/env bash
# Checks every shell script, and that each can be executed: check_scripts.sh SOURCE_ROOT
set -euo pipefail
cd "$1"
mapfile -t scripts < <(grep -rlE '^#!.*\b(ba)?sh$' --exclude-dir=.git --exclude-dir=build --exclude-dir=.cache .)
shellcheck "${scripts[@]}"
for script in "${scripts[@]}"; do
    [[ -x $script ]] || { echo "$script is not executable" >&2; exit 1; }
done
