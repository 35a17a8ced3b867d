#!/usr/bin/env bash
# usage: run.sh TOUR BIN_DIR SQL_FILE: runs the tour in a folder of its own.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" "$2" "$3" "$work"
