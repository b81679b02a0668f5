#!/usr/bin/env bash
# Makes the reference site in $1/html. Any warning of Doxygen fails it. Exit code 77 if Doxygen or its theme is not installed.
set -euo pipefail

mkdir -p "$1"
place=$(realpath "$1")
cd "$(dirname "$0")/../.."

command -v doxygen >/dev/null || { echo "docs: doxygen is not installed" >&2; exit 77; }
[ -f /usr/share/doxygen-awesome-css/doxygen-awesome.css ] \
    || { echo "docs: the theme, Debian's package doxygen-awesome-css, is not installed" >&2; exit 77; }
ORVA_VERSION=$(sed -nE 's/^#define ORVA_VERSION_(MAJOR|MINOR|PATCH) ([0-9]+)$/\2/p' include/ORVA/Core/Version.h | paste -sd.)
export ORVA_VERSION
rm -rf "$place/html"
if ! { cat docs/site/Doxyfile; echo "OUTPUT_DIRECTORY = $place"; } | doxygen - >"$place/doxygen.log" 2>&1; then
    cat "$place/doxygen.log" >&2
    exit 1
fi
