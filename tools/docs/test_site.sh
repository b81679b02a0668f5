#!/usr/bin/env bash
# Makes the reference site in $1 and checks it. Exit code 77 if Doxygen, its theme or Chromium is not installed.
set -euo pipefail

tools=$(dirname "$0")
# Nothing is made where it cannot be looked at.
command -v chromium >/dev/null || command -v chromium-browser >/dev/null \
    || { echo "docs: chromium is not installed" >&2; exit 77; }
bash "$tools/make_site.sh" "$1"
bash "$tools/check_site.sh" "$1"
