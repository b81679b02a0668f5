#!/usr/bin/env bash
# Runs the program $1 and compares what it writes with the file $2.
set -euo pipefail

diff -u "$2" <("$1" 2>&1 || echo "exit status $?")
