#!/bin/sh
# Renders the application icon's PNG sizes from the SVG (rsvg-convert, from librsvg2-bin).
# Run after changing the SVG; the PNGs are kept in the tree so that building needs no renderer.
set -eu
cd "$(dirname "$0")"
for size in 16 32 48 64 128 256; do
    mkdir -p "$size"
    rsvg-convert -w "$size" -h "$size" org.tavrel.Tavrel.svg -o "$size/org.tavrel.Tavrel.png"
done
