#!/usr/bin/env bash
# Checks the site in $1/html: its links, then its search and some pages in a headless Chromium, with screenshots of them in
# $1/screenshots. Exit code 77 if there is no Chromium.
set -euo pipefail

tools=$(dirname "$0")
python3 "$tools/check_links.py" "$1/html"
chromium=$(command -v chromium || command -v chromium-browser || true)
[ -n "$chromium" ] || { echo "docs: chromium is not installed" >&2; exit 77; }
python3 -B "$tools/check_browser.py" "$chromium" "$1/html" "$1/screenshots"
