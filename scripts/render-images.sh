#!/usr/bin/env bash
# Renders the board's images from their SVG sources (res/images/src/NAME.svg)
# to the PNGs compiled into the resources (res/images/minimize/NAME.png).
#
# Every PNG has a fixed pixel size, listed below. Running the script again
# over unchanged sources gives byte-identical files.
#
# Usage: scripts/render-images.sh
# Needs rsvg-convert; installs the Debian package librsvg2-bin when it is missing.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
src_dir="$root/res/images/src"
out_dir="$root/res/images/minimize"

# name  width  height
images=(
    "cachuzhuangtai@2x 536 806"
    "xuanze@2x         104 104"
    "xuanze2@2x        104 104"
    "bichu@2x          104 104"
    "bichu2@2x         104 104"
    "cachu@2x          104 104"
    "cachu2@2x         104 104"
    "jietu@2x          104 104"
    "quanping@2x       104 104"
    "logo@2x           136 136"
    "logo2@2x          132 132"
    "huakuai@2x        176  76"
    "yuansu1@2x         80  80"
    "yuansu2@2x         80  80"
)

if ! command -v rsvg-convert >/dev/null 2>&1; then
    echo "rsvg-convert not found, installing librsvg2-bin" >&2
    if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi
    if ! "${sudo[@]}" apt-get install -y --no-install-recommends librsvg2-bin; then
        "${sudo[@]}" apt-get update
        "${sudo[@]}" apt-get install -y --no-install-recommends librsvg2-bin
    fi
fi

# Width and height from a PNG's IHDR chunk (big-endian, bytes 16..23).
png_size() {
    local w h
    w=$(od -An -tu1 -j16 -N4 "$1" | awk '{ print $1 * 16777216 + $2 * 65536 + $3 * 256 + $4 }')
    h=$(od -An -tu1 -j20 -N4 "$1" | awk '{ print $1 * 16777216 + $2 * 65536 + $3 * 256 + $4 }')
    echo "${w}x${h}"
}

tmp_dir="$(mktemp -d)"
trap 'rm -rf "$tmp_dir"' EXIT

mkdir -p "$out_dir"
for entry in "${images[@]}"; do
    read -r name width height <<<"$entry"
    svg="$src_dir/$name.svg"
    png="$out_dir/$name.png"
    tmp="$tmp_dir/$name.png"
    if [ ! -f "$svg" ]; then
        echo "missing source: $svg" >&2
        exit 1
    fi
    rsvg-convert --format=png --width="$width" --height="$height" \
        --background-color=none --output="$tmp" "$svg"
    size="$(png_size "$tmp")"
    if [ "$size" != "${width}x${height}" ]; then
        echo "$name.png came out $size, expected ${width}x${height}" >&2
        exit 1
    fi
    if [ -f "$png" ] && cmp -s "$tmp" "$png"; then
        echo "unchanged  $name.png ($size)"
        rm -f "$tmp"
    else
        mv -f "$tmp" "$png"
        chmod 644 "$png"
        echo "rendered   $name.png ($size)"
    fi
done
