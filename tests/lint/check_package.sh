#!/usr/bin/env bash
# Makes the Debian package of a build and checks it and what it brings to the desktop: check_package.sh SOURCE BUILD
set -euo pipefail
packaging=$1/packaging
build=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

desktop-file-validate "$packaging/vostarn.id.Kelvo.desktop"
# It has no page in the web, for which older validators neither ask nor know the name.
metainfo=$packaging/vostarn.id.Kelvo.metainfo.xml
appstreamcli validate --no-net --override=url-homepage-missing=info "$metainfo" || appstreamcli validate --no-net "$metainfo"
warnings=$(man --warnings -l -Tutf8 -Z "$packaging/kelvo.1" 2>&1 >/dev/null)
[[ -z $warnings ]] || { echo "kelvo.1: $warnings"; exit 1; }

# Packed twice, the second time later: what differs would differ between two builds.
export SOURCE_DATE_EPOCH=1700000000
for run in first second; do
    mkdir "$folder/$run"
    (cd "$build" && cpack -B "$folder/$run" >"$folder/log" 2>&1) || { cat "$folder/log"; exit 1; }
    sleep 1
done
package=$(ls "$folder"/first/*.deb)
cmp "$package" "$folder"/second/*.deb
lintian --allow-root --fail-on error "$package"

dpkg-deb -x "$package" "$folder/root"
program=$folder/root/usr/bin/kelvo
version=$(dpkg-deb -f "$package" Version)
[[ $("$program" --version) == "kelvo $version" ]]
for text in "$packaging/kelvo.1" "$packaging/vostarn.id.Kelvo.metainfo.xml" "$packaging/debian/changelog"; do
    grep -q -F "$version" "$text" || { echo "$text: not of version $version"; exit 1; }
done
while read -r option; do
    for text in kelvo.1 completions/kelvo.bash completions/_kelvo completions/kelvo.fish; do
        sed 's|\\||g' "$packaging/$text" | grep -q -w -e "${option#--}" || { echo "$text: no $option"; exit 1; }
    done
done < <("$program" --help | grep -o -e '--[a-z-]*')
"$folder/root/opt/homebrew/bin/qemu-system-aarch64" -version
